#pragma once

#include <filesystem>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "sorn/platform/Bundle.h"

namespace sorn::host {

// What the host tells about itself, with the executable's name as identifier until it does. Any thread; the
// setters are meant for the time before the library starts.
class HostBundle final : public platform::Bundle {
 public:
  HostBundle();

  // One that is not UTF-8 is taken with its bytes beyond ASCII as "%" and two hexadecimal digits.
  void setIdentifier(std::optional<std::string> identifier);
  void setVersion(std::optional<std::string> version);
  void setBuild(std::optional<std::string> build);
  void setLibraryVersion(std::optional<std::string> version);
  // A further folder with resources, searched after those that were added before. A relative one is taken
  // from the present working directory, wherever the host goes later.
  void addResourceDirectory(const std::filesystem::path& folder);

  std::optional<std::string> identifier() const override;
  std::optional<std::string> version() const override;
  std::optional<std::string> build() const override;
  std::optional<std::string> libraryVersion() const override;
  // Looks beside the executable, then in the installed data folders (share/IDENTIFIER next to the
  // executable's folder and below the system's data folders), then where the host said. A name that leads out
  // of these folders is found nowhere.
  std::optional<std::filesystem::path> resource(std::string_view name,
                                                std::string_view extension) const override;

 private:
  std::vector<std::filesystem::path> resourceDirectories() const;

  const std::filesystem::path executable_;
  mutable std::mutex mutex_;
  std::optional<std::string> identifier_;
  std::optional<std::string> version_;
  std::optional<std::string> build_;
  std::optional<std::string> libraryVersion_;
  std::vector<std::filesystem::path> added_;
};

}  // namespace sorn::host
