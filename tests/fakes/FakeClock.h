#pragma once

#include "host/SystemClock.h"

namespace sorn::tests {

// Clocks that a test moves by plain seconds.
class FakeClock final : public host::ManualClock {
 public:
  FakeClock() : ManualClock(dateSince1970(1'700'000'000)) {}

  void advance(double seconds) { ManualClock::advance(platform::Monotonic(seconds)); }
  void jump(double secondsSince1970) { jumpTo(dateSince1970(secondsSince1970)); }
};

}  // namespace sorn::tests
