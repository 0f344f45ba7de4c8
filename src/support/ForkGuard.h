#pragma once

#include <atomic>

namespace sorn::support {

namespace detail {
extern std::atomic<unsigned> forks;
}

// Watches for forks of the process from now on. Any number of calls is one. After a fork the child has the
// library's locks and queues but none of its threads, so the child's library refuses work.
void installForkGuard();

// How many forks lie between this process and the one in which the guard was installed. Costs one read.
inline unsigned forkCount() { return detail::forks.load(std::memory_order_relaxed); }
inline bool isForkedChild() { return forkCount() != 0; }

}  // namespace sorn::support
