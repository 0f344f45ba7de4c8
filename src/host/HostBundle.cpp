#include "host/HostBundle.h"

#include <system_error>
#include <utility>

#include "host/XdgDirectories.h"
#include "support/Cipher.h"
#include "support/json/Json.h"

namespace sorn::host {

namespace {

// Empty when /proc is not there. The kernel marks an executable that was replaced since (by an update, say).
std::filesystem::path executablePath() {
  std::error_code error;
  const std::string target = std::filesystem::read_symlink("/proc/self/exe", error).string();
  constexpr std::string_view mark = " (deleted)";
  return target.ends_with(mark) ? target.substr(0, target.size() - mark.size()) : target;
}

// A file name is any bytes, an identifier is text: it goes into documents of the service. In a name that is
// no UTF-8 the bytes beyond ASCII become "%" and two digits, so that two programs stay apart.
std::string identifierOf(std::string name) {
  if (support::isValidUtf8(name)) return name;
  std::string text;
  for (const char byte : name) {
    if ((byte & 0x80) != 0) {
      text.append("%").append(support::hexText({&byte, 1}));
    } else {
      text += byte;
    }
  }
  return text;
}

bool staysInside(const std::filesystem::path& relative) {
  if (relative.empty() || relative.is_absolute()) return false;
  for (const std::filesystem::path& part : relative) {
    if (part == "..") return false;
  }
  return true;
}

}  // namespace

HostBundle::HostBundle() : executable_(executablePath()), libraryVersion_(SORN_LIBRARY_VERSION) {
  if (executable_.has_filename()) identifier_ = identifierOf(executable_.filename().string());
}

void HostBundle::setIdentifier(std::optional<std::string> identifier) {
  if (identifier) identifier = identifierOf(*std::move(identifier));
  const std::lock_guard lock(mutex_);
  identifier_ = std::move(identifier);
}

void HostBundle::setVersion(std::optional<std::string> version) {
  const std::lock_guard lock(mutex_);
  version_ = std::move(version);
}

void HostBundle::setBuild(std::optional<std::string> build) {
  const std::lock_guard lock(mutex_);
  build_ = std::move(build);
}

void HostBundle::setLibraryVersion(std::optional<std::string> version) {
  const std::lock_guard lock(mutex_);
  libraryVersion_ = std::move(version);
}

void HostBundle::addResourceDirectory(const std::filesystem::path& folder) {
  std::filesystem::path place = absolutePath(folder);
  const std::lock_guard lock(mutex_);
  added_.push_back(std::move(place));
}

std::optional<std::string> HostBundle::identifier() const {
  const std::lock_guard lock(mutex_);
  return identifier_;
}

std::optional<std::string> HostBundle::version() const {
  const std::lock_guard lock(mutex_);
  return version_;
}

std::optional<std::string> HostBundle::build() const {
  const std::lock_guard lock(mutex_);
  return build_;
}

std::optional<std::string> HostBundle::libraryVersion() const {
  const std::lock_guard lock(mutex_);
  return libraryVersion_;
}

std::vector<std::filesystem::path> HostBundle::resourceDirectories() const {
  const std::lock_guard lock(mutex_);
  std::vector<std::filesystem::path> folders;
  // As a package is laid out: the program's own folder, its share folder under the same prefix, then the
  // system's.
  const std::filesystem::path beside = executable_.parent_path();
  if (!beside.empty()) folders.push_back(beside);
  if (identifier_ && staysInside(*identifier_)) {
    if (!beside.empty()) folders.push_back(beside.parent_path() / "share" / *identifier_);
    for (const std::filesystem::path& shared : sharedDataFolders()) folders.push_back(shared / *identifier_);
  }
  folders.insert(folders.end(), added_.begin(), added_.end());
  return folders;
}

std::optional<std::filesystem::path> HostBundle::resource(std::string_view name,
                                                          std::string_view extension) const {
  std::string file(name);
  if (!extension.empty()) file.append(".").append(extension);
  if (name.empty() || file.find('\0') != std::string::npos || !staysInside(file)) return std::nullopt;
  for (const std::filesystem::path& folder : resourceDirectories()) {
    std::error_code error;
    const std::filesystem::path candidate = folder / file;
    if (std::filesystem::is_regular_file(candidate, error)) return candidate;
  }
  return std::nullopt;
}

}  // namespace sorn::host
