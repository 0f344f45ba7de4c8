#include "host/XdgDirectories.h"

#include <algorithm>
#include <array>
#include <cstdlib>

#include <pwd.h>
#include <unistd.h>

namespace sorn::host {

namespace {

std::optional<std::filesystem::path> absoluteFromEnvironment(const char* name) {
  const char* value = std::getenv(name);
  if (!value) return std::nullopt;
  std::filesystem::path path = value;
  return path.is_absolute() ? std::optional(std::move(path)) : std::nullopt;
}

std::optional<std::filesystem::path> userHome() {
  if (auto home = absoluteFromEnvironment("HOME")) return home;
  std::array<char, 16384> buffer;
  passwd entry{};
  passwd* found = nullptr;
  if (getpwuid_r(getuid(), &entry, buffer.data(), buffer.size(), &found) != 0 || !found) return std::nullopt;
  std::filesystem::path home = found->pw_dir ? found->pw_dir : "";
  return home.is_absolute() ? std::optional(std::move(home)) : std::nullopt;
}

// The name of the application's folder; absent for what can't name one.
std::optional<std::string> folderName(std::string_view identifier) {
  std::string name(identifier);
  std::replace(name.begin(), name.end(), '/', '_');
  if (name.empty() || name == "." || name == ".." || name.find('\0') != std::string::npos)
    return std::nullopt;
  return name;
}

}  // namespace

std::filesystem::path absolutePath(const std::filesystem::path& path) {
  std::error_code error;
  const std::filesystem::path absolute = std::filesystem::absolute(path.empty() ? "." : path, error);
  return error ? path : absolute;
}

XdgHomes XdgHomes::fromEnvironment() {
  XdgHomes homes{absoluteFromEnvironment("XDG_DATA_HOME"), absoluteFromEnvironment("XDG_CONFIG_HOME")};
  if (homes.data && homes.config) return homes;
  if (const auto home = userHome()) {
    if (!homes.data) homes.data = *home / ".local" / "share";
    if (!homes.config) homes.config = *home / ".config";
  }
  return homes;
}

XdgHomes XdgHomes::below(const std::filesystem::path& root) {
  const std::filesystem::path place = absolutePath(root);
  return {place / "data", place / "config"};
}

std::vector<std::filesystem::path> sharedDataFolders() {
  const char* value = std::getenv("XDG_DATA_DIRS");
  std::string_view rest = value && *value ? value : "/usr/local/share:/usr/share";
  std::vector<std::filesystem::path> folders;
  while (!rest.empty()) {
    const std::size_t end = std::min(rest.find(':'), rest.size());
    std::filesystem::path folder = rest.substr(0, end);
    if (folder.is_absolute()) folders.push_back(std::move(folder));
    rest.remove_prefix(std::min(end + 1, rest.size()));
  }
  return folders;
}

XdgDirectories::XdgDirectories(const XdgHomes& homes, std::string_view identifier) {
  const auto name = folderName(identifier);
  if (!name) return;
  if (homes.data) data_ = *homes.data / *name;
  if (homes.config) config_ = *homes.config / *name;
}

std::vector<std::filesystem::path> XdgDirectories::documents() const {
  if (!data_) return {};
  return {*data_ / "documents"};
}

std::vector<std::filesystem::path> XdgDirectories::applicationSupport() const {
  if (!data_) return {};
  return {*data_ / "application-support"};
}

std::optional<std::filesystem::path> XdgDirectories::secureStoreFile() const {
  if (!data_) return std::nullopt;
  return *data_ / "secure-store.json";
}

std::optional<std::filesystem::path> XdgDirectories::defaultsFile() const {
  if (!config_) return std::nullopt;
  return *config_ / "defaults.json";
}

}  // namespace sorn::host
