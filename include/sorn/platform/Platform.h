#pragma once

#include <memory>

#include "sorn/Export.h"
#include "sorn/platform/Application.h"
#include "sorn/platform/Bundle.h"
#include "sorn/platform/Clock.h"
#include "sorn/platform/Deployment.h"
#include "sorn/platform/DeviceFacts.h"
#include "sorn/platform/Directories.h"
#include "sorn/platform/HttpTransport.h"
#include "sorn/platform/MainQueue.h"
#include "sorn/platform/SecureStore.h"
#include "sorn/platform/SystemLog.h"
#include "sorn/platform/UserDefaults.h"

namespace sorn::platform {

// The ports that the library works through. What is left empty is filled with the headless Linux adapter.
struct Platform {
  std::shared_ptr<Clock> clock;
  std::shared_ptr<MainQueue> mainQueue;
  std::shared_ptr<Bundle> bundle;
  std::shared_ptr<Directories> directories;
  std::shared_ptr<UserDefaults> userDefaults;
  std::shared_ptr<SecureStore> secureStore;
  std::shared_ptr<HttpTransport> httpTransport;
  std::shared_ptr<DeviceFacts> deviceFacts;
  std::shared_ptr<Application> application;
  std::shared_ptr<SystemLog> systemLog;
  Deployment deployment;
};

// Sets the ports for this process. Takes effect when called before the first `Sorn::manager()`; a later call
// changes nothing. Any thread.
SORN_EXPORT void install(Platform platform);

}  // namespace sorn::platform
