#pragma once

#include <chrono>
#include <functional>

#include "sorn/Value.h"

namespace sorn::platform {

// Seconds on a clock that never goes back and has no meaning beyond differences.
using Monotonic = std::chrono::duration<double>;

// The two clocks. Safe to call from any thread.
class Clock {
 public:
  virtual ~Clock() = default;

  // The wall clock: what events are stamped with. May jump.
  virtual Date now() const = 0;
  // The clock that timers run on.
  virtual Monotonic monotonic() const = 0;
  // Whether the clocks move by themselves. When they do not, timers wait for the observer's call.
  virtual bool runsByItself() const { return true; }
  // A clock that is moved by hand calls this after each move; a real one never does.
  virtual void setObserver(const std::function<void()>& /*moved*/) {}
};

}  // namespace sorn::platform
