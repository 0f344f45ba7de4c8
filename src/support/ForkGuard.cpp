#include "support/ForkGuard.h"

#include <pthread.h>

#include "support/Fault.h"

namespace sorn::support {

namespace detail {
constinit std::atomic<unsigned> forks{0};
}

void installForkGuard() {
  static const int installed =
      pthread_atfork(nullptr, nullptr, [] { detail::forks.fetch_add(1, std::memory_order_relaxed); });
  if (installed != 0) fault("a handler for forks");
}

}  // namespace sorn::support
