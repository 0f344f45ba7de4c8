#pragma once

#include <functional>

#include "device/DeviceManager.h"
#include "sorn/platform/Application.h"
#include "sorn/platform/MainQueue.h"
#include "store/DBManager.h"
#include "support/Logger.h"

namespace sorn::facade {

// The hooks by which the library learns of its application's state. Each logs its line and then leaves at
// once, except the one for termination, which waits until the closing event is stored.
class Lifecycle {
 public:
  Lifecycle(platform::MainQueue& mainQueue, platform::Application& application, device::DeviceManager& device,
            support::Logger& logger, std::function<store::DBManager&()> database)
      : mainQueue_(mainQueue),
        application_(application),
        device_(device),
        logger_(logger),
        database_(std::move(database)) {}

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
  const std::function<store::DBManager&()> database_;
};

}  // namespace sorn::facade
