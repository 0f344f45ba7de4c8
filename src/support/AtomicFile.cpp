#include "support/AtomicFile.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <string>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace sorn::support {

namespace {

std::error_code lastError() { return {errno, std::generic_category()}; }

std::error_code writeAll(int descriptor, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t count = ::write(descriptor, bytes.data(), bytes.size());
    if (count < 0) {
      if (errno == EINTR) continue;
      return lastError();
    }
    bytes.remove_prefix(static_cast<std::size_t>(count));
  }
  return {};
}

// Writes the bytes and closes the descriptor on every way out.
std::error_code writeAndClose(int descriptor, std::string_view bytes, platform::Durability durability) {
  std::error_code error = writeAll(descriptor, bytes);
  if (!error && durability == platform::Durability::power && ::fsync(descriptor) != 0) error = lastError();
  if (::close(descriptor) != 0 && !error) error = lastError();
  return error;
}

// The new name in the folder reaches the disk as well. A file system that can't do that is no failure: the
// content is in place.
void syncFolder(const std::filesystem::path& folder) {
  const int descriptor = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (descriptor < 0) return;
  ::fsync(descriptor);
  ::close(descriptor);
}

}  // namespace

std::error_code makePrivateFolders(const std::filesystem::path& folder) {
  std::error_code error;
  if (folder.empty() || std::filesystem::is_directory(folder, error)) return {};
  if (folder.has_relative_path()) {
    if (const std::error_code failure = makePrivateFolders(folder.parent_path())) return failure;
  }
  if (::mkdir(folder.c_str(), 0700) == 0) return {};
  const std::error_code failure = lastError();
  if (failure != std::errc::file_exists) return failure;
  // Another thread or process was quicker, or a file stands in the way.
  return std::filesystem::is_directory(folder, error) ? std::error_code()
                                                      : std::make_error_code(std::errc::not_a_directory);
}

std::error_code writeAtomically(const std::filesystem::path& file, std::string_view bytes,
                                platform::Durability durability) {
  const std::filesystem::path folder = file.has_parent_path() ? file.parent_path() : ".";
  if (const std::error_code failure = makePrivateFolders(folder)) return failure;
  // In the same folder, since a rename does not cross file systems; mkostemp makes it with mode 0600.
  std::string temporary = (folder / ("." + file.filename().string() + ".XXXXXX")).string();
  const int descriptor = ::mkostemp(temporary.data(), O_CLOEXEC);
  if (descriptor < 0) return lastError();
  std::error_code error = writeAndClose(descriptor, bytes, durability);
  if (!error && ::rename(temporary.c_str(), file.c_str()) != 0) error = lastError();
  if (error) {
    ::unlink(temporary.c_str());
    return error;
  }
  if (durability == platform::Durability::power) syncFolder(folder);
  return {};
}

}  // namespace sorn::support
