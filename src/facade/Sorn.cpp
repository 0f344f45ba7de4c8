#include "sorn/Sorn.h"

#include <mutex>

#include "facade/Library.h"
#include "host/HeadlessPlatform.h"
#include "support/ForkGuard.h"

namespace sorn {

using facade::Lifecycle;
using support::Forced;

namespace {

// The ports for the library of this process, until it is made. Never destroyed: threads may still run while
// the process ends.
struct Installed {
  std::mutex mutex;
  platform::Platform platform;
};

Installed& installed() {
  static Installed& held = *new Installed;
  return held;
}

// A host's hooks run in a forked child as well, for instance while it exits. There they do nothing: what they
// would write belongs to the parent.
void run(facade::Library& library, void (Lifecycle::*hook)()) {
  if (!support::isForkedChild()) (library.lifecycle().*hook)();
}

}  // namespace

void platform::install(Platform platform) {
  const std::lock_guard lock(installed().mutex);
  installed().platform = std::move(platform);
}

Sorn& Sorn::manager() {
  static facade::Library& library = *[] {
    const std::lock_guard lock(installed().mutex);
    platform::Platform platform = std::move(installed().platform);
    host::fillHeadless(platform);
    return new facade::Library(std::move(platform));
  }();
  return library.sorn();
}

void Sorn::start(const std::string& configurationFile) {
  library_.refuseAfterFork();
  try {
    library_.start(configurationFile);
  } catch (const SornError& error) {
    library_.logger().log(error, Forced::yes);
    throw;
  }
}

std::optional<std::string> Sorn::customFontFamilyName() const {
  return library_.state().customFontFamilyName();
}

void Sorn::setCustomFontFamilyName(std::optional<std::string> family) {
  library_.state().setCustomFontFamilyName(std::move(family));
}

bool Sorn::deeplinkDismissesCampaigns() const { return library_.state().deeplinkDismissesCampaigns; }

void Sorn::setDeeplinkDismissesCampaigns(bool dismisses) {
  library_.state().deeplinkDismissesCampaigns = dismisses;
}

void Sorn::enableInAppCampaigns() {
  library_.refuseAfterFork();
  library_.ports().userDefaults->set(sync::EventReportBuilder::inAppCampaignsActive, true);
}

void Sorn::disableInAppCampaigns() {
  library_.refuseAfterFork();
  library_.ports().userDefaults->set(sync::EventReportBuilder::inAppCampaignsActive, false);
}

void Sorn::triggerInApp(const std::map<std::string, std::string>& userInfo) {
  library_.refuseAfterFork();
  library_.services().campaigns.triggerInApp(userInfo);
}

std::string Sorn::defaultUser() const {
  library_.refuseAfterFork();
  return library_.services().users.defaultUser();
}

std::future<void> Sorn::loginUser(std::string id) {
  auto promise = std::make_shared<std::promise<void>>();
  std::future<void> future = promise->get_future();
  loginUser(std::move(id), [promise](const std::exception_ptr& error) {
    if (error) {
      promise->set_exception(error);
    } else {
      promise->set_value();
    }
  });
  return future;
}

// The identifier is taken by value, as the public interface has it for both forms.
// NOLINTNEXTLINE(performance-unnecessary-value-param)
void Sorn::loginUser(std::string id, std::function<void(std::exception_ptr)> completion) {
  library_.refuseAfterFork();
  library_.services().users.loginUser(id, std::move(completion));
}

void Sorn::logoutUser() {
  library_.refuseAfterFork();
  library_.services().users.logoutUser();
}

void Sorn::registerPreferences(const std::vector<std::string>& tags) {
  library_.refuseAfterFork();
  library_.services().users.registerPreferences(tags);
}

void Sorn::logEventWith(const std::string& category, const std::string& action,
                        const std::optional<Dictionary>& data) {
  library_.refuseAfterFork();
  library_.services().eventCalls.logEventWith(category, action, data);
}

void Sorn::logScreenWithName(const std::string& name, const std::optional<Dictionary>& data) {
  library_.refuseAfterFork();
  library_.services().eventCalls.logScreenWithName(name, data);
}

void Sorn::applicationDidFinishLaunching() { run(library_, &Lifecycle::applicationDidFinishLaunching); }
void Sorn::applicationDidBecomeActive() { run(library_, &Lifecycle::applicationDidBecomeActive); }
void Sorn::applicationWillResignActive() { run(library_, &Lifecycle::applicationWillResignActive); }
void Sorn::applicationDidEnterBackground() { run(library_, &Lifecycle::applicationDidEnterBackground); }
void Sorn::applicationWillEnterForeground() { run(library_, &Lifecycle::applicationWillEnterForeground); }
void Sorn::applicationWillTerminate() { run(library_, &Lifecycle::applicationWillTerminate); }
void Sorn::applicationBackgroundRefreshStatusDidChange() {
  run(library_, &Lifecycle::applicationBackgroundRefreshStatusDidChange);
}
void Sorn::userDefaultsDidChange() { run(library_, &Lifecycle::userDefaultsDidChange); }

}  // namespace sorn
