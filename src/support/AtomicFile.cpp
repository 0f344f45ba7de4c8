#include "support/AtomicFile.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <string>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace sorn::support {

namespace {

// Where mkostemp(3) puts letters of its choice.
constexpr std::string_view chosenLetters = "XXXXXX";

Failure<std::error_code> lastError() { return Failure(std::error_code(errno, std::generic_category())); }

FileResult writeAll(int descriptor, std::string_view bytes) {
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

FileResult writeThrough(int descriptor, std::string_view bytes, platform::Durability durability) {
  if (auto written = writeAll(descriptor, bytes); !written) return written;
  if (durability == platform::Durability::power && ::fsync(descriptor) != 0) return lastError();
  // Some file systems tell only at a close that they could not keep the bytes. The descriptor itself stays
  // open, since the lock goes with it.
  if (const int copy = ::dup(descriptor); copy >= 0 && ::close(copy) != 0) return lastError();
  return {};
}

// What the names of this file's temporaries begin with; chosen letters follow.
std::string temporaryPrefix(const std::filesystem::path& file) {
  return "." + file.filename().string() + ".sorn-";
}

// Removes what dead processes left of their attempts at this file. A writer holds a lock (flock(2)) on its
// temporary, which ends with the process; where a file system has no locks, nothing is removed.
void removeAbandoned(const std::filesystem::path& folder, const std::string& prefix) {
  std::error_code error;
  auto entry = std::filesystem::directory_iterator(folder, error);
  for (; !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
    const std::string name = entry->path().filename().string();
    if (name.size() != prefix.size() + chosenLetters.size() || !name.starts_with(prefix)) continue;
    const int descriptor = ::open(entry->path().c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    if (descriptor < 0) continue;
    if (::flock(descriptor, LOCK_EX | LOCK_NB) == 0) ::unlink(entry->path().c_str());
    ::close(descriptor);
  }
}

// Makes a locked temporary with mode 0600 and gives its name to `path`. Less than 0 on failure, with the
// reason in `errno`.
int openTemporary(const std::string& pattern, std::string& path) {
  while (true) {
    path = pattern;
    const int descriptor = ::mkostemp(path.data(), O_CLOEXEC);
    if (descriptor < 0) return descriptor;
    // Before it was locked, another writer may have taken it for abandoned: it is removed then, or about to
    // be.
    const bool isTaken = ::flock(descriptor, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK;
    struct stat status {};
    if (!isTaken && ::fstat(descriptor, &status) == 0 && status.st_nlink > 0) return descriptor;
    ::close(descriptor);
  }
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

FileResult makePrivateFolders(const std::filesystem::path& folder) {
  std::error_code error;
  if (folder.empty() || std::filesystem::is_directory(folder, error)) return {};
  if (folder.has_relative_path()) {
    if (auto made = makePrivateFolders(folder.parent_path()); !made) return made;
  }
  if (::mkdir(folder.c_str(), 0700) == 0) return {};
  if (errno != EEXIST) return lastError();
  // Another thread or process was quicker, or a file stands in the way.
  if (std::filesystem::is_directory(folder, error)) return {};
  return Failure(std::make_error_code(std::errc::not_a_directory));
}

FileResult writeAtomically(const std::filesystem::path& file, std::string_view bytes,
                           platform::Durability durability) {
  const std::filesystem::path folder = file.has_parent_path() ? file.parent_path() : ".";
  if (auto made = makePrivateFolders(folder); !made) return made;
  const std::string prefix = temporaryPrefix(file);
  removeAbandoned(folder, prefix);
  // In the same folder, since a rename does not cross file systems.
  std::string temporary;
  const int descriptor = openTemporary((folder / prefix).string().append(chosenLetters), temporary);
  if (descriptor < 0) return lastError();
  FileResult written = writeThrough(descriptor, bytes, durability);
  if (written && ::rename(temporary.c_str(), file.c_str()) != 0) written = lastError();
  if (!written) ::unlink(temporary.c_str());
  ::close(descriptor);
  if (!written) return written;
  if (durability == platform::Durability::power) syncFolder(folder);
  return {};
}

}  // namespace sorn::support
