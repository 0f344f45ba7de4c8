#pragma once

#include "device/DeviceManager.h"
#include "facade/FacadeState.h"
#include "support/Logger.h"
#include "sync/StartStep.h"

namespace sorn::facade {

// What a start ends in, on the store's queue: the features bring their records into line one after another,
// then the library counts as started. Nothing here waits for the network.
class Reconciliation {
 public:
  Reconciliation(FacadeState& state, const device::DeviceManager& device, support::Logger& logger,
                 sync::StartSteps steps)
      : state_(state), device_(device), logger_(logger), steps_(std::move(steps)) {}

  void run(SornMode mode);

 private:
  FacadeState& state_;
  const device::DeviceManager& device_;
  support::Logger& logger_;
  const sync::StartSteps steps_;
};

}  // namespace sorn::facade
