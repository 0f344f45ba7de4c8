#include "support/Uuid.h"

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>

#include <sys/random.h>

#include "support/Fault.h"
#include "support/ForkGuard.h"

namespace sorn::support {

namespace {

constexpr std::size_t uuidSize = 16;

// Random bytes fetched ahead, each thread's own.
struct Pool {
  std::array<std::uint8_t, 16 * uuidSize> bytes;
  std::size_t used;
  unsigned fork;  // the pool of a parent must not be drawn from again

  void fill() {
    installForkGuard();
    std::size_t filled = 0;
    while (filled < bytes.size()) {
      const ssize_t got = getrandom(bytes.data() + filled, bytes.size() - filled, 0);
      if (got < 0 && errno != EINTR) fault("random bytes from the system");
      if (got > 0) filled += static_cast<std::size_t>(got);
    }
    used = 0;
    fork = forkCount();
  }

  // Every byte is handed out once and wiped, so that an identifier can't be read from memory before its time.
  std::array<std::uint8_t, uuidSize> take() {
    if (used == bytes.size() || fork != forkCount()) fill();
    std::array<std::uint8_t, uuidSize> taken;
    std::memcpy(taken.data(), bytes.data() + used, uuidSize);
    std::memset(bytes.data() + used, 0, uuidSize);
    used += uuidSize;
    return taken;
  }
};

constinit thread_local Pool pool{{}, 16 * uuidSize, 0};

}  // namespace

std::string makeUuid() {
  constexpr char digits[] = "0123456789ABCDEF";
  std::array<std::uint8_t, uuidSize> bytes = pool.take();
  bytes[6] = static_cast<std::uint8_t>((bytes[6] & 0x0F) | 0x40);  // the version
  bytes[8] = static_cast<std::uint8_t>((bytes[8] & 0x3F) | 0x80);  // the variant
  std::string text(36, '-');
  std::size_t at = 0;
  for (std::size_t index = 0; index < uuidSize; ++index) {
    if (index == 4 || index == 6 || index == 8 || index == 10) ++at;
    text[at++] = digits[bytes[index] >> 4];
    text[at++] = digits[bytes[index] & 15];
  }
  return text;
}

}  // namespace sorn::support
