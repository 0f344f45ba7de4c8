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
                 [this]() -> store::DBManager& { return database(); }),
      tasks_(ports_.clock, ports_.httpTransport) {
  support::installForkGuard();
  logger_.log(support::LogLevel::info, "Registering for system events...");
  ports_.userDefaults->setObserver([this] { lifecycle_.userDefaultsDidChange(); });
  ports_.userDefaults->registerDefaults(
      {{std::string(server::EventReportBuilder::inAppCampaignsActive), true}});
}

Library::~Library() {
  ports_.userDefaults->setObserver({});
  tasks_.stop();
  // The store's queue runs what is left in it, which still uses the services above.
  if (coreData_.ifMade()) context().performBlockAndWait([] {});
}

void Library::refuseAfterFork() const {
  if (support::isForkedChild()) throw SornError::plain(SornError::Code::serviceUnavailable);
}

void Library::requireUsageReports() {
  if (configuration_.isEnabled(&documents::Features::reportUsage, true)) return;
  const SornError error = SornError::plain(SornError::Code::featureNotEnabled);
  logger_.log(error, support::Forced::yes);
  throw error;
}

void Library::record(const sync::NewEvent& event) {
  sync::EventBatch& batch = this->batch();
  context().performBlockAndWait([&] { batch.batchEvent(events().createEvent(event)); });
}

store::CoreDataManager& Library::coreData() {
  return coreData_.get([this] {
    return std::make_unique<store::CoreDataManager>(*ports_.directories, *ports_.clock,
                                                    ports_.deployment.durability, logger_);
  });
}

store::DBManager& Library::database() {
  return database_.get([this] { return makeDatabase(); });
}

std::unique_ptr<store::DBManager> Library::makeDatabase() {
  store::DBManager::Handlers handlers;
  handlers.deviceInfo = [this] { return device_.deviceInfo(); };
  handlers.makeIdentifier = [this] { return device_.makeIdentifier(); };
  handlers.batchTimeout = [this] { return support::Tasks::Seconds(configuration_.batchTimeout()); };
  handlers.maintain = [this] { maintenance().maintain(); };
  handlers.sendBatchedEvents = [this] { batch().startEventBatching(sync::EventBatch::Trigger::timer); };
  handlers.startEventBatching = [this] { batch().startEventBatching(sync::EventBatch::Trigger::limit); };
  handlers.raiseEvent = [this](std::string_view action) { record({.action = action}); };
  handlers.fetchInbox = [] {};
  return std::make_unique<store::DBManager>(context(), account_, tasks_, *ports_.application, logger_,
                                            std::move(handlers));
}

server::APIClient& Library::client() {
  return client_.get([this] { return makeClient(); });
}

std::unique_ptr<server::APIClient> Library::makeClient() {
  auto& reports = reports_.get([this] {
    return std::make_unique<server::EventReportBuilder>(context(), *ports_.userDefaults, logger_);
  });
  server::BodySources sources{.entityIdentifier = [this] { return device_.identifier(); },
                              .deviceInfo = [this] { return device_.deviceInfo(); },
                              .otherEntityIds = [this] { return database().otherEntityIds(); },
                              .clock = *ports_.clock};
  return std::make_unique<server::APIClient>(account_, tasks_, logger_, std::move(sources), reports);
}

sync::EventStore& Library::events() {
  return events_.get([this] {
    return std::make_unique<sync::EventStore>(
        database(), configuration_, device_, logger_,
        [this](const store::SNEvent& event) { campaigns().handleStoredEvent(event); });
  });
}

sync::EventBatch& Library::batch() {
  return batch_.get([this] {
    return std::make_unique<sync::EventBatch>(database(), events(), configuration_, client(), logger_);
  });
}

sync::MaintenanceRoutine& Library::maintenance() {
  return maintenance_.get([this] {
    sync::MaintenanceRoutine::Callbacks callbacks;
    callbacks.restart = [this](const std::string& file) { start(file); };
    return std::make_unique<sync::MaintenanceRoutine>(database(), events(), client(), *ports_.userDefaults,
                                                      logger_, std::move(callbacks));
  });
}

Reconciliation& Library::reconciliation() {
  return reconciliation_.get([this] {
    Reconciliation::Signals signals;
    signals.loginUser = [this](const std::string& userID) { users().loginUser(userID, {}); };
    return std::make_unique<Reconciliation>(state_, database(), device_, configuration_, client(), logger_,
                                            std::move(signals));
  });
}

Users& Library::users() {
  return users_.get([this] {
    Users::Signals signals;
    signals.record = [this](const sync::NewEvent& event) { record(event); };
    return std::make_unique<Users>(database(), client(), tasks_, logger_, std::move(signals));
  });
}

server::PublishedFiles& Library::published() {
  return published_.get([this] {
    return std::make_unique<server::PublishedFiles>(account_, ports_.deployment, *ports_.userDefaults,
                                                    *ports_.clock, tasks_, logger_,
                                                    server::PublishedFiles::SavePlaces());
  });
}

campaigns::SornInAppCampaignManager& Library::campaigns() {
  return campaigns_.get([this] { return makeCampaigns(); });
}

std::unique_ptr<campaigns::SornInAppCampaignManager> Library::makeCampaigns() {
  campaigns::SornInAppCampaignManager::Handlers handlers;
  handlers.present = [this](const documents::SornInAppCampaign& campaign, double after) {
    present(campaign, after);
  };
  // Nobody has asked the system yet.
  handlers.authorizationStatus = [] { return std::optional<std::int64_t>(); };
  return std::make_unique<campaigns::SornInAppCampaignManager>(database(), published(), *ports_.directories,
                                                               *ports_.userDefaults, account_, logger_,
                                                               std::move(handlers));
}

void Library::setPresenter(Presenter presenter) {
  const std::lock_guard lock(presenterMutex_);
  presenter_ = std::move(presenter);
}

void Library::present(const documents::SornInAppCampaign& campaign, double after) {
  ports_.mainQueue->postAfter(std::chrono::duration<double>(after), [this, campaign] {
    Presenter presenter;
    {
      const std::lock_guard lock(presenterMutex_);
      presenter = presenter_;
    }
    if (presenter) presenter(campaign);
  });
}

void Library::start(const std::string& configurationFile) {
  Startup::HandOver handOver;
  handOver.beforeNameIsKept = [this] {
    lifecycle_.readBackgroundRefreshStatus();
    tasks_.post([this] { campaigns().fetchRemoteCampaigns(); });
  };
  handOver.reconcile = [this](SornMode mode) {
    context().performBlock([this, mode] { reconciliation().run(mode); });
  };
  startup_.start(configurationFile, handOver);
}

}  // namespace sorn::facade
