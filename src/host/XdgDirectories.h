#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "sorn/platform/Directories.h"

namespace sorn::host {

// The same place after a change of the working directory. A path stays as it is where there is no working
// directory any more.
std::filesystem::path absolutePath(const std::filesystem::path& path);

// The base directories of the user, after the XDG Base Directory Specification. Absent where there is no home
// to put them in.
struct XdgHomes {
  std::optional<std::filesystem::path> data;
  std::optional<std::filesystem::path> config;

  // From the environment, else below the user's home. A relative value counts as unset.
  static XdgHomes fromEnvironment();
  // `root`/data and `root`/config, for a host that keeps everything in one place. A relative root is taken
  // from the present working directory.
  static XdgHomes below(const std::filesystem::path& root);
};

// The system's folders with data of installed programs, the most important first.
std::vector<std::filesystem::path> sharedDataFolders();

// Where the files of one application lie below the homes.
class XdgDirectories final : public platform::Directories {
 public:
  // A "/" in the identifier becomes "_", so that the files stay in a folder of their own.
  XdgDirectories(const XdgHomes& homes, std::string_view identifier);

  std::vector<std::filesystem::path> documents() const override;
  std::vector<std::filesystem::path> applicationSupport() const override;

  // Absent when there is no home.
  std::optional<std::filesystem::path> secureStoreFile() const;
  std::optional<std::filesystem::path> defaultsFile() const;

 private:
  std::optional<std::filesystem::path> data_;
  std::optional<std::filesystem::path> config_;
};

}  // namespace sorn::host
