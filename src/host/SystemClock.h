#pragma once

#include <functional>
#include <mutex>

#include "sorn/platform/Clock.h"

namespace sorn::host {

// The machine's own clocks.
class SystemClock final : public platform::Clock {
 public:
  Date now() const override;
  platform::Monotonic monotonic() const override;
};

// Clocks that stand still until somebody moves them, for hosts that are driven by a script. Any thread.
class ManualClock final : public platform::Clock {
 public:
  explicit ManualClock(Date start) : now_(start) {}

  Date now() const override;
  platform::Monotonic monotonic() const override;
  bool runsByItself() const override { return false; }
  void setObserver(const std::function<void()>& moved) override;

  // Moves both clocks forward.
  void advance(platform::Monotonic by);
  // Sets the wall clock alone, as somebody does who corrects the machine's time.
  void jumpTo(Date wall);

 private:
  void announce();

  mutable std::mutex mutex_;
  Date now_;
  platform::Monotonic monotonic_{0};
  std::function<void()> moved_;
};

}  // namespace sorn::host
