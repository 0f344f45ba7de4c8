#pragma once

#include <functional>
#include <mutex>

#include "sorn/platform/Clock.h"

namespace sorn::tests {

// Both clocks, moved by hand alone. Any thread.
class FakeClock : public platform::Clock {
 public:
  Date now() const override {
    const std::lock_guard lock(mutex_);
    return dateSince1970(wall_);
  }
  platform::Monotonic monotonic() const override {
    const std::lock_guard lock(mutex_);
    return platform::Monotonic(monotonic_);
  }
  bool runsByItself() const override { return false; }
  void setObserver(const std::function<void()>& moved) override {
    const std::lock_guard lock(mutex_);
    moved_ = moved;
  }

  // Lets time pass on both clocks.
  void advance(double seconds) { move(seconds, seconds); }
  // Sets the wall clock alone, as a user or a time server does.
  void jump(double secondsSince1970) {
    double difference = 0;
    {
      const std::lock_guard lock(mutex_);
      difference = secondsSince1970 - wall_;
    }
    move(difference, 0);
  }

 private:
  void move(double wall, double monotonic) {
    std::function<void()> moved;
    {
      const std::lock_guard lock(mutex_);
      wall_ += wall;
      monotonic_ += monotonic;
      moved = moved_;
    }
    if (moved) moved();
  }

  mutable std::mutex mutex_;
  double wall_ = 1'700'000'000;
  double monotonic_ = 1000;
  std::function<void()> moved_;
};

}  // namespace sorn::tests
