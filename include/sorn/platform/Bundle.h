#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace sorn::platform {

// What the host application says about itself, and where its resources lie. Any thread.
class Bundle {
 public:
  virtual ~Bundle() = default;

  // Reverse-domain or plain name that sets this application's files apart from others'.
  virtual std::optional<std::string> identifier() const = 0;
  // The application's version and build texts; absent when the host gives none.
  virtual std::optional<std::string> version() const = 0;
  virtual std::optional<std::string> build() const = 0;
  // The version text of this library.
  virtual std::optional<std::string> libraryVersion() const = 0;
  // The resource `name` + "." + `extension`; absent when no resource directory has it.
  virtual std::optional<std::filesystem::path> resource(std::string_view name,
                                                        std::string_view extension) const = 0;
};

}  // namespace sorn::platform
