#include "settings/FileLock.h"

#include <cerrno>
#include <chrono>
#include <thread>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include "support/AtomicFile.h"

namespace sorn::settings {

namespace {

constexpr std::chrono::seconds longestWait{1};
constexpr std::chrono::milliseconds step{2};

std::filesystem::path lockFileOf(const std::filesystem::path& file) {
  std::filesystem::path name = ".";
  name += file.filename();
  name += ".lock";
  return file.parent_path() / name;
}

void waitForLock(int descriptor) {
  const auto end = std::chrono::steady_clock::now() + longestWait;
  while (::flock(descriptor, LOCK_EX | LOCK_NB) != 0) {
    // A file system without locks says so at once.
    if (errno != EWOULDBLOCK && errno != EINTR) return;
    if (std::chrono::steady_clock::now() >= end) return;
    std::this_thread::sleep_for(step);
  }
}

}  // namespace

FileLock::FileLock(const std::filesystem::path& file) {
  if (!support::makePrivateFolders(file.parent_path())) return;
  descriptor_ =
      ::open(lockFileOf(file).c_str(), O_RDONLY | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0600);
  if (descriptor_ >= 0) waitForLock(descriptor_);
}

FileLock::~FileLock() {
  if (descriptor_ < 0) return;
  // Not left to the closing alone: a child that was forked off meanwhile still has the descriptor.
  ::flock(descriptor_, LOCK_UN);
  ::close(descriptor_);
}

}  // namespace sorn::settings
