#include "store/DBManager.h"

#include <utility>

#include "support/Fault.h"

namespace sorn::store {

using support::LogLevel;

DBManager::DBManager(ManagedObjectContext& context, const support::Account& account, support::Logger& logger,
                     DeviceCreation& devices, SessionObservers observers)
    : context_(context),
      account_(account),
      logger_(logger),
      devices_(devices),
      observers_(std::move(observers)) {}

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
    if (application->managedObjectContext()) {
      devices_.createDevice();
    } else {
      logger_.log(LogLevel::info, "Invalid context");
    }
    saveContext();
  }
  return application;
}

Ref<SNUser> DBManager::currentUser() {
  return context_.performBlockAndWait(
      [this] { return currentApplication()->get(SNApplication::activeUser); });
}

Ref<SNSession> DBManager::currentSession() {
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

void DBManager::startSession() {
  clearSessions();
  backingCurrentSession_ = context_.insert<SNSession>();
  backingCurrentSession_->set(SNSession::application, currentApplication());
  logger_.log(LogLevel::info,
              [this] { return "Creating new session: " + backingCurrentSession_->description(); });
  for (SessionObserver& observer : observers_) observer.sessionBegan();
  saveContext();
}

void DBManager::endSession() {
  if (backingCurrentSession_) {
    for (SessionObserver& observer : observers_) observer.sessionEnds();
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

std::set<std::string> DBManager::campaignIDs() {
  return context_.performBlockAndWait([this] { return campaignIDs_; });
}

void DBManager::addCampaignID(std::string campaignID) {
  context_.performBlockAndWait([&] { campaignIDs_.insert(std::move(campaignID)); });
}

std::vector<std::string> DBManager::otherEntityIds() {
  return context_.performBlockAndWait([this] { return otherEntityIds_; });
}

void DBManager::saveContext() {
  context_.performBlockAndWait([this] { context_.saveNowOrLater(); });
}

}  // namespace sorn::store
