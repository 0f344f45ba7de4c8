#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <string>

#include "device/DeviceManager.h"
#include "device/KeychainWrapper.h"
#include "facade/FacadeState.h"
#include "facade/Lifecycle.h"
#include "facade/Services.h"
#include "facade/Startup.h"
#include "server/ConfigurationStore.h"
#include "sorn/Sorn.h"
#include "sorn/platform/Platform.h"
#include "support/Account.h"
#include "support/Logger.h"
#include "support/Tasks.h"

namespace sorn::facade {

// The library as a whole: what is there from the beginning, and the services, made on first use. A process
// has one, which is never released; tests make as many as they like.
class Library final : public sync::Restart {
 public:
  explicit Library(platform::Platform ports);
  // Ends the threads without finishing their work, as the end of the process would.
  ~Library() override;
  Library(const Library&) = delete;
  Library& operator=(const Library&) = delete;

  Sorn& sorn() { return *sorn_; }
  static Library& of(Sorn& sorn) { return sorn.library_; }

  void start(const std::string& configurationFile) override;
  // Throws `serviceUnavailable` in a child process that was forked off.
  void refuseAfterFork() const;

  const platform::Platform& ports() const { return ports_; }
  FacadeState& state() { return state_; }
  support::Logger& logger() { return logger_; }
  support::Tasks& tasks() { return tasks_; }
  support::Account& account() { return account_; }
  device::DeviceManager& device() { return device_; }
  server::ConfigurationStore& configuration() { return configuration_; }
  Lifecycle& lifecycle() { return lifecycle_; }

  Services& services();
  store::ManagedObjectContext& context() { return services().context; }

 private:
  const platform::Platform ports_;
  const std::unique_ptr<Sorn> sorn_;
  FacadeState state_;
  support::Logger logger_;
  support::Account account_;
  device::KeychainWrapper keychain_;
  device::DeviceManager device_;
  server::ConfigurationStore configuration_;
  Startup startup_;
  Lifecycle lifecycle_;
  support::Tasks tasks_;
  std::once_flag made_;
  std::unique_ptr<Services> services_;
};

}  // namespace sorn::facade
