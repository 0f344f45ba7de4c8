#include "store/DBManager.h"

#include <utility>

#include "documents/EventCatalogue.h"
#include "support/Fault.h"
#include "support/Uuid.h"

namespace sorn::store {

using documents::EventAction;
using support::LogLevel;

DBManager::DBManager(ManagedObjectContext& context, support::Account& account, support::Tasks& tasks,
                     platform::Application& application, support::Logger& logger, Handlers handlers)
    : context_(context),
      account_(account),
      tasks_(tasks),
      application_(application),
      logger_(logger),
      handlers_(std::move(handlers)),
      maintenanceTimer_(tasks.every(maintenancePeriod, handlers_.maintain)),
      // Fixed here, once: a configuration that arrives later holds from the next process on.
      eventBatchingTimer_(tasks.every(handlers_.batchTimeout(), handlers_.sendBatchedEvents)) {}

Ref<SNApplication> DBManager::currentApplication() {
  return context_.performBlockAndWait([this] {
    if (!backingCurrentApplication_) backingCurrentApplication_ = findApplication();
    return backingCurrentApplication_;
  });
}

Ref<SNApplication> DBManager::findApplication() {
  const auto credentials = account_.credentials();
  if (!credentials) support::fault("a successful start before the first use of the store");
  Ref<SNApplication> application = context_.findOrCreate<SNApplication>(
      assign(SNApplication::applicationKey, credentials->applicationKey),
      assign(SNApplication::applicationSecret, credentials->applicationSecret));
  backingCurrentApplication_ = application;
  otherEntityIds_.clear();
  for (const auto& other : context_.fetchRecords<SNApplication>(Predicate::isNotRow(application->rowID()))) {
    const Ref<SNDevice> device = other->get(SNApplication::device);
    if (!device) continue;
    if (const std::string* entityID = device->text(SNDevice::entityID)) otherEntityIds_.push_back(*entityID);
  }
  if (!application->get(SNApplication::device)) {
    createDevice(application);
    saveContext();
  }
  return application;
}

void DBManager::createDevice(const Ref<SNApplication>& application) {
  if (!application->managedObjectContext()) {
    logger_.log(LogLevel::info, "Invalid context");
    return;
  }
  deviceSynchronisation(handlers_.deviceInfo());
}

Ref<SNUser> DBManager::currentUser() {
  return context_.performBlockAndWait(
      [this] { return currentApplication()->get(SNApplication::activeUser); });
}

Ref<SNSession> DBManager::currentSession() {
  tasks_.post(handlers_.fetchInbox);
  return context_.performBlockAndWait([this] {
    startSession();
    return backingCurrentSession_;
  });
}

void DBManager::ensureSession() {
  if (!backingCurrentSession_) currentSession();
}

std::optional<std::string> DBManager::entityIdentifier() {
  return context_.performBlockAndWait([this]() -> std::optional<std::string> {
    Ref<SNApplication> application = backingCurrentApplication_;
    if (!application) {
      const auto credentials = account_.credentials();
      if (!credentials) support::fault("a successful start before the entity identifier is read");
      const auto found = context_.fetchRecords<SNApplication>(
          SNApplication::applicationKey == credentials->applicationKey &&
          SNApplication::applicationSecret == credentials->applicationSecret);
      if (found.empty()) return std::nullopt;
      application = found.front();
    }
    const Ref<SNDevice> device = application->get(SNApplication::device);
    return device ? device->get(SNDevice::entityID) : std::nullopt;
  });
}

std::optional<std::string> DBManager::defaultUserID() {
  const std::optional<std::string> identifier = entityIdentifier();
  if (!identifier) return std::nullopt;
  const std::size_t length = support::makeUuid().size();
  return identifier->size() > length ? identifier->substr(identifier->size() - length) : *identifier;
}

bool DBManager::isDefaultUser(const SNUser& user) {
  return context_.performBlockAndWait([&] { return user.get(SNUser::userID) == defaultUserID(); });
}

void DBManager::startSession() {
  clearSessions();
  backingCurrentSession_ = context_.insert<SNSession>();
  backingCurrentSession_->set(SNSession::application, currentApplication());
  logger_.log(LogLevel::info,
              [this] { return "Creating new session: " + backingCurrentSession_->description(); });
  handlers_.raiseEvent(EventAction::appOpened);
  saveContext();
}

void DBManager::endSession() {
  if (backingCurrentSession_) {
    handlers_.raiseEvent(EventAction::appClosed);
    saveContext();
  }
  clearSessions();
}

void DBManager::clearSessions() {
  logger_.log(LogLevel::info, "Clearing sessions...");
  for (const Ref<SNSession>& session : context_.fetchRecords<SNSession>()) context_.deleteObject(*session);
  saveContext();
  backingCurrentSession_ = nullptr;
  campaignIDs_.clear();
}

void DBManager::enterBackground() {
  tasks_.post([this] {
    logger_.log(LogLevel::info, "Application entered background... Attempting save in DB...");
    context_.performBlockAndWait([this] { endSession(); });
    context_.performBlock([this] { saveContext(); });
    // Begun within a turn: its time may be over at once, and the expiry's block then still finds its number.
    context_.performBlockAndWait([this] {
      const auto begun = std::make_shared<platform::Application::BackgroundTask>(
          platform::Application::invalidBackgroundTask);
      *begun = application_.beginBackgroundTask(backgroundTaskName, [this, begun] {
        context_.performBlock([this, begun] {
          application_.endBackgroundTask(*begun);
          bgMaintainTask_ = platform::Application::invalidBackgroundTask;
        });
      });
      bgMaintainTask_ = *begun;
    });
    logger_.log(LogLevel::info, "Attempting to send batched events in bg...");
    handlers_.startEventBatching();
  });
}

void DBManager::endBackgroundTask() {
  if (bgMaintainTask_ == platform::Application::invalidBackgroundTask) return;
  application_.endBackgroundTask(bgMaintainTask_);
  bgMaintainTask_ = platform::Application::invalidBackgroundTask;
}

std::set<std::string> DBManager::campaignIDs() {
  return context_.performBlockAndWait([this] { return campaignIDs_; });
}

void DBManager::addCampaignID(std::string campaignID) {
  context_.performBlockAndWait([&] { campaignIDs_.insert(std::move(campaignID)); });
}

std::vector<std::string> DBManager::otherEntityIds() {
  return context_.performBlockAndWait([this] { return otherEntityIds_; });
}

bool DBManager::saveContext() {
  return context_.performBlockAndWait([this] { return context_.save(); });
}

}  // namespace sorn::store
