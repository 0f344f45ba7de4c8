#include "support/BoundedFile.h"

#include <cerrno>

#include <fcntl.h>
#include <unistd.h>

namespace sorn::support {

namespace {

Failure<std::error_code> lastError() { return Failure(std::error_code(errno, std::generic_category())); }

// What the descriptor still holds. One byte more than the limit is read at most.
Result<std::string, std::error_code> readAll(int descriptor, std::size_t limit) {
  std::string bytes;
  char piece[16384];
  while (bytes.size() <= limit) {
    const ssize_t count = ::read(descriptor, piece, sizeof piece);
    if (count == 0) return bytes;
    if (count < 0) {
      if (errno == EINTR) continue;
      return lastError();
    }
    bytes.append(piece, static_cast<std::size_t>(count));
  }
  return Failure(std::make_error_code(std::errc::file_too_large));
}

}  // namespace

Result<std::string, std::error_code> readBounded(const std::filesystem::path& file, std::size_t limit) {
  const int descriptor = ::open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
  if (descriptor < 0) return lastError();
  auto bytes = readAll(descriptor, limit);
  ::close(descriptor);
  return bytes;
}

}  // namespace sorn::support
