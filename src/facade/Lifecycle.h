#pragma once

#include <functional>

#include "device/DeviceManager.h"
#include "sorn/platform/Application.h"
#include "sorn/platform/MainQueue.h"
#include "support/Logger.h"

namespace sorn::facade {

struct Services;

// The hooks by which the library learns of its application's state. Each logs its line and then leaves at
// once, except the one for termination, which waits until the closing event is stored.
class Lifecycle {
 public:
  Lifecycle(platform::MainQueue& mainQueue, platform::Application& application, device::DeviceManager& device,
            support::Logger& logger, std::function<Services&()> services)
      : mainQueue_(mainQueue),
        application_(application),
        device_(device),
        logger_(logger),
        services_(std::move(services)) {}

  void applicationDidFinishLaunching();
  void applicationDidBecomeActive();
  void applicationWillResignActive();
  void applicationDidEnterBackground();
  void applicationWillEnterForeground();
  void applicationWillTerminate();
  void applicationBackgroundRefreshStatusDidChange();
  void userDefaultsDidChange() {}

  // Reads the status on the main queue.
  void readBackgroundRefreshStatus();

 private:
  void ensureSession();

  platform::MainQueue& mainQueue_;
  platform::Application& application_;
  device::DeviceManager& device_;
  support::Logger& logger_;
  const std::function<Services&()> services_;  // made on first use
};

}  // namespace sorn::facade
