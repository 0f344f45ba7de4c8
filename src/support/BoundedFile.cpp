#include "support/BoundedFile.h"

#include <cerrno>

#include <fcntl.h>
#include <unistd.h>

namespace sorn::support {

namespace {

std::error_code lastError() { return {errno, std::generic_category()}; }

// Appends what the descriptor still holds, up to one byte more than the limit.
std::error_code readAll(int descriptor, std::size_t limit, std::string& bytes) {
  char piece[16384];
  while (bytes.size() <= limit) {
    const ssize_t count = ::read(descriptor, piece, sizeof piece);
    if (count == 0) return {};
    if (count < 0) {
      if (errno == EINTR) continue;
      return lastError();
    }
    bytes.append(piece, static_cast<std::size_t>(count));
  }
  return std::make_error_code(std::errc::file_too_large);
}

}  // namespace

std::string readBounded(const std::filesystem::path& file, std::size_t limit, std::error_code& error) {
  error.clear();
  const int descriptor = ::open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
  if (descriptor < 0) {
    error = lastError();
    return {};
  }
  std::string bytes;
  error = readAll(descriptor, limit, bytes);
  ::close(descriptor);
  if (error) bytes.clear();
  return bytes;
}

}  // namespace sorn::support
