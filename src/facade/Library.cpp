#include "facade/Library.h"

#include "sorn/SornError.h"
#include "support/ForkGuard.h"

namespace sorn::facade {

Library::Library(platform::Platform ports)
    : ports_(std::move(ports)),
      sorn_(new Sorn(*this)),
      logger_(ports_.systemLog),
      keychain_(*ports_.secureStore, *ports_.bundle, logger_),
      device_(*ports_.deviceFacts, *ports_.bundle, account_, keychain_, logger_),
      configuration_(account_, keychain_, logger_),
      startup_(*ports_.bundle, *ports_.userDefaults, account_, state_),
      lifecycle_(*ports_.mainQueue, *ports_.application, device_, logger_,
                 [this]() -> Services& { return services(); }),
      tasks_(ports_.clock, ports_.httpTransport) {
  support::installForkGuard();
  logger_.log(support::LogLevel::info, "Registering for system events...");
  ports_.userDefaults->setObserver([this] { lifecycle_.userDefaultsDidChange(); });
  ports_.userDefaults->registerDefaults(
      {{std::string(sync::EventReportBuilder::inAppCampaignsActive), true}});
}

Library::~Library() {
  ports_.userDefaults->setObserver({});
  tasks_.stop();
  // The store's queue runs what is left in it, which still uses the services above.
  if (services_) services_->context.performBlockAndWait([] {});
}

Services& Library::services() {
  std::call_once(made_, [this] {
    services_ = std::make_unique<Services>(
        Foundation{ports_, state_, logger_, account_, device_, configuration_, tasks_, *this});
  });
  return *services_;
}

void Library::refuseAfterFork() const {
  if (support::isForkedChild()) throw SornError::plain(SornError::Code::serviceUnavailable);
}

void Library::start(const std::string& configurationFile) {
  Startup::HandOver handOver;
  handOver.beforeNameIsKept = [this] {
    lifecycle_.readBackgroundRefreshStatus();
    tasks_.post([this] { services().campaigns.fetchRemoteCampaigns(); });
  };
  handOver.reconcile = [this](SornMode mode) {
    context().performBlock([this, mode] { services().reconciliation.run(mode); });
  };
  startup_.start(configurationFile, handOver);
}

}  // namespace sorn::facade
