#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "facade/FacadeState.h"
#include "sorn/platform/Bundle.h"
#include "sorn/platform/UserDefaults.h"
#include "support/Account.h"

namespace sorn::facade {

// The start, up to the point where it hands over to other threads.
class Startup {
 public:
  Startup(const platform::Bundle& bundle, platform::UserDefaults& defaults, support::Account& account,
          FacadeState& state)
      : bundle_(bundle), defaults_(defaults), account_(account), state_(state) {}

  // Schedules what a successful start sets going, before the file's name is kept for later processes and
  // after.
  struct HandOver {
    std::function<void()> beforeNameIsKept;
    std::function<void(SornMode)> reconcile;
  };

  // Throws the `SornError` of the first thing that is wrong; nothing is changed then. Returns at once when
  // the library has started.
  void start(std::string_view file, const HandOver& handOver);

 private:
  const platform::Bundle& bundle_;
  platform::UserDefaults& defaults_;
  support::Account& account_;
  FacadeState& state_;
};

}  // namespace sorn::facade
