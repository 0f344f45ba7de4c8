#pragma once

#include <chrono>
#include <functional>
#include <mutex>

#include "sorn/platform/Clock.h"

namespace sorn::host {

// The machine's own clocks.
class SystemClock final : public platform::Clock {
 public:
  Date now() const override { return std::chrono::system_clock::now(); }
  platform::Monotonic monotonic() const override {
    return std::chrono::steady_clock::now().time_since_epoch();
  }
};

// Clocks that stand still until somebody moves them, for hosts that are driven by a script and for tests. Any
// thread.
class ManualClock : public platform::Clock {
 public:
  explicit ManualClock(Date start) : now_(start) {}

  Date now() const override {
    const std::lock_guard lock(mutex_);
    return now_;
  }
  platform::Monotonic monotonic() const override {
    const std::lock_guard lock(mutex_);
    return monotonic_;
  }
  bool runsByItself() const override { return false; }
  void setObserver(const std::function<void()>& moved) override {
    const std::lock_guard lock(mutex_);
    moved_ = moved;
  }

  // Moves both clocks forward.
  void advance(platform::Monotonic by) {
    change([&] {
      now_ += by;
      monotonic_ += by;
    });
  }
  // Sets the wall clock alone, as somebody does who corrects the machine's time.
  void jumpTo(Date wall) {
    change([&] { now_ = wall; });
  }

 private:
  template <class Change>
  void change(Change apply) {
    std::function<void()> moved;
    {
      const std::lock_guard lock(mutex_);
      apply();
      moved = moved_;
    }
    // It reads the clocks, so it runs without the lock.
    if (moved) moved();
  }

  mutable std::mutex mutex_;
  Date now_;
  platform::Monotonic monotonic_{0};
  std::function<void()> moved_;
};

}  // namespace sorn::host
