#pragma once

#include <filesystem>

namespace sorn::settings {

// Keeps other processes, and other objects of this one, from changing a file between its reading and its
// replacement. The lock (flock(2)) is on a hidden file beside it, which stays: the file itself is another one
// after each replacement. Readers need no lock.
//
// Waits for another holder at most a second and then goes on, as it does where there can be no lock file: a
// process that is stopped while it holds the lock must not stop this one.
class FileLock {
 public:
  // Makes the file's folder if it is missing, as the replacement would.
  explicit FileLock(const std::filesystem::path& file);
  ~FileLock();
  FileLock(const FileLock&) = delete;
  FileLock& operator=(const FileLock&) = delete;

 private:
  int descriptor_ = -1;
};

}  // namespace sorn::settings
