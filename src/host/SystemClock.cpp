#include "host/SystemClock.h"

#include <chrono>

namespace sorn::host {

Date SystemClock::now() const { return std::chrono::system_clock::now(); }

platform::Monotonic SystemClock::monotonic() const {
  return std::chrono::steady_clock::now().time_since_epoch();
}

Date ManualClock::now() const {
  const std::lock_guard lock(mutex_);
  return now_;
}

platform::Monotonic ManualClock::monotonic() const {
  const std::lock_guard lock(mutex_);
  return monotonic_;
}

void ManualClock::setObserver(const std::function<void()>& moved) {
  const std::lock_guard lock(mutex_);
  moved_ = moved;
}

void ManualClock::advance(platform::Monotonic by) {
  {
    const std::lock_guard lock(mutex_);
    now_ += by;
    monotonic_ += by;
  }
  announce();
}

void ManualClock::jumpTo(Date wall) {
  {
    const std::lock_guard lock(mutex_);
    now_ = wall;
  }
  announce();
}

// The observer reads the clocks, so it runs without the lock.
void ManualClock::announce() {
  std::function<void()> moved;
  {
    const std::lock_guard lock(mutex_);
    moved = moved_;
  }
  if (moved) moved();
}

}  // namespace sorn::host
