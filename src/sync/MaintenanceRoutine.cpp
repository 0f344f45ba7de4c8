#include "sync/MaintenanceRoutine.h"

#include <algorithm>
#include <exception>
#include <utility>

#include "store/entities/SNLocations.h"
#include "store/entities/SNPreferences.h"
#include "store/entities/SNPushGateway.h"
#include "support/Fault.h"
#include "support/json/Json.h"
#include "sync/EventBatch.h"

namespace sorn::sync {

using server::CallResult;
using store::ServerStatusState;
using store::SNApplication;
using store::SNEvent;
using store::SNInboxItem;
using store::SNServerStatus;
using support::LogLevel;

namespace {

ServerStatusState stateOf(const CallResult& result) {
  return server::succeeded(result) ? ServerStatusState::isTrue : ServerStatusState::isFalse;
}

}  // namespace

MaintenanceRoutine::MaintenanceRoutine(store::DBManager& database, EventStore& events,
                                       server::APIClient& client, const platform::UserDefaults& defaults,
                                       support::Logger& logger, Callbacks callbacks)
    : database_(database),
      context_(database.context()),
      events_(events),
      client_(client),
      defaults_(defaults),
      logger_(logger),
      callbacks_(std::move(callbacks)) {}

void MaintenanceRoutine::maintain() {
  context_.performBlock([this] { run(); });
}

void MaintenanceRoutine::run() {
  if (database_.isMaintaining()) {
    logger_.log(LogLevel::warning, "Already maintaining... bail out");
    return;
  }
  logger_.log(LogLevel::timer, "Starting maintenance routine... (Period: 60.0 sec)");
  restart();
  database_.setMaintaining(true);
  resetStaleReports();
  sendDevice();
  sendUser();
  sendPreferences();
  sendEvents();
  sendInboxItems();
  sendPushToken();
  sendLocations();
  logger_.log(LogLevel::info, "Finishing maintenance routine...");
  context_.save();
  database_.setMaintaining(false);
}

// For a process that the system launched without the host's own start; otherwise `start` returns at once.
void MaintenanceRoutine::restart() {
  const std::optional<Value> stored = defaults_.object(lastStart);
  const Dictionary* dictionary = stored ? stored->as<Dictionary>() : nullptr;
  if (!dictionary) return;
  const auto file = dictionary->find(std::string(startFileName));
  const std::string* name = file == dictionary->end() ? nullptr : file->second.as<std::string>();
  if (!name) return;
  try {
    callbacks_.restart(*name);
  } catch (const std::exception&) {
    // The host was told when it started itself; here there is nobody to tell.
  }
}

void MaintenanceRoutine::resetStaleReports() {
  const double now = secondsSince1970(context_.now());
  for (const store::EntityDescription* entity : store::allEntities()) {
    if (entity->statusColumn == store::EntityDescription::noStatus || entity == &SNEvent::entity()) continue;
    const store::Predicate isPending =
        store::Predicate::compare(entity->statusColumn, store::Predicate::Comparison::equal,
                                  std::int64_t{1}) &&
        store::Predicate::compare(entity->statusColumn + 1, store::Predicate::Comparison::equal,
                                  std::int64_t{0});
    for (const auto& record : context_.fetchObjects(*entity, isPending)) {
      auto status = SNServerStatus::of(record);
      const auto lastUpdated = status ? status->lastUpdated() : std::nullopt;
      if (lastUpdated && now - secondsSince1970(*lastUpdated) > stalenessLimit) {
        status->setStatus(ServerStatusState::isFalse);
      }
    }
  }
  events_.resetStale(context_.now(), stalenessLimit);
}

std::optional<SNServerStatus> MaintenanceRoutine::unsentStatus(
    const store::Ref<store::ManagedObject>& record) const {
  std::optional<SNServerStatus> status = SNServerStatus::of(record);
  if (!status || status->statusState() != ServerStatusState::isFalse) return std::nullopt;
  return status;
}

void MaintenanceRoutine::sendFor(const store::Ref<store::ManagedObject>& record, server::Endpoint endpoint) {
  client_.request(std::move(endpoint), [this, record](const CallResult& result) {
    context_.performBlockAndWait([&] {
      if (auto status = SNServerStatus::of(record)) status->setStatus(stateOf(result));
      context_.save();
    });
  });
}

void MaintenanceRoutine::sendDevice() {
  if (!unsentStatus(database_.currentApplication()->get(SNApplication::device))) return;
  logger_.log(LogLevel::warning, "Current device needs to be sent...");
  // This report alone does not pass through `pending`: it may go out at each run until one has an answer.
  client_.request(server::Save{},
                  [this](const CallResult& result) { database_.deviceStatusUpdate(stateOf(result)); });
}

void MaintenanceRoutine::sendUser() {
  const store::Ref<store::SNUser> user = database_.currentUser();
  auto status = unsentStatus(user);
  if (!status) return;
  logger_.log(LogLevel::warning, "Active user needs to be sent...");
  status->setStatus(ServerStatusState::pending);
  const std::optional<std::string> userID = user->get(store::SNUser::userID);
  if (!userID) {
    logger_.log(LogLevel::error, "User ID is missing!");
    return;
  }
  server::Endpoint endpoint = server::UserActivate{*userID};
  if (userID == database_.defaultUserID()) endpoint = server::UserActivateAnonymous{*userID};
  // The outcome goes to whoever is the current user by then.
  client_.request(std::move(endpoint),
                  [this](const CallResult& result) { database_.userStatus(stateOf(result)); });
}

void MaintenanceRoutine::sendPreferences() {
  const auto preferences = database_.currentApplication()->get(SNApplication::preferences);
  auto status = unsentStatus(preferences);
  if (!status) return;
  logger_.log(LogLevel::warning, "Preferences needs to be sent...");
  const std::optional<std::string> json = preferences->get(store::SNPreferences::tags);
  if (!json) return;
  support::JsonError error;
  const auto document = support::Document::parse(*json, support::Fragments::yes, &error);
  if (!document) {
    logger_.log(LogLevel::error, error.description);
    return;
  }
  std::vector<std::string> tags;
  documents::DecodingFailure failure;
  if (!documents::ValueForm<std::vector<std::string>>::decode(document->root(), tags, failure)) {
    support::fault("stored tags that are a list of texts");
  }
  status->setStatus(ServerStatusState::pending);
  sendFor(preferences, server::PreferencesSave{std::move(tags)});
}

void MaintenanceRoutine::sendEvents() {
  const store::RowRanges events = eventsToReport();
  if (events.empty()) return;
  logger_.log(LogLevel::warning,
              [&] { return "Found " + std::to_string(events.count()) + " events that need to be sent..."; });
  reportsUnderWay_.push_back(events);
  client_.reportEvents(events, [this, events](const CallResult& result) { applyReport(events, result); });
}

store::RowRanges MaintenanceRoutine::eventsToReport() {
  store::RowRanges events;
  bool afterGap = false;
  const bool isWhole = context_.scan(SNEvent::entity(), {}, [&](const store::RowView& row) {
    const bool isUnder = std::ranges::any_of(
        reportsUnderWay_, [&](const store::RowRanges& report) { return report.contains(row.rowID()); });
    const bool isUnsent = row.integer(SNEvent::hasServerStatus) == 1 &&
                          (row.isAbsent(SNEvent::status) ||
                           (row.integer(SNEvent::status) != 0 && row.integer(SNEvent::status) != 1));
    const bool isWanted =
        isUnsent && !isUnder &&
        belongsHere(
            row.isAbsent(SNEvent::device) ? std::nullopt : std::optional(row.integer(SNEvent::device)),
            row.isAbsent(SNEvent::user) ? std::nullopt : std::optional(row.integer(SNEvent::user)));
    if (isWanted) events.append(row.rowID(), afterGap);
    afterGap = !isWanted;
    return true;
  });
  return isWhole ? events : store::RowRanges();
}

void MaintenanceRoutine::applyReport(const store::RowRanges& events, const CallResult& result) {
  // After a failure the events are as unsent as they were.
  if (server::succeeded(result) || EventBatch::isGivenUp(result)) {
    for (const store::RowRanges& piece : events.split(EventBatch::deletedInTurn)) {
      context_.performBlockAndWait([&] {
        context_.deleteRows(SNEvent::entity(), piece);
        context_.save();
      });
    }
  }
  context_.performBlockAndWait([&] {
    std::erase_if(reportsUnderWay_, [&](const store::RowRanges& report) {
      return report.ranges().front().first == events.ranges().front().first;
    });
  });
}

// Whether a record is this application's: of its device, or of a user who came along when the device changed.
bool MaintenanceRoutine::belongsHere(std::optional<std::int64_t> device, std::optional<std::int64_t> user) {
  const store::Ref<SNApplication> application = database_.currentApplication();
  const auto currentDevice = application->reference(SNApplication::device);
  if (device && device == currentDevice) return true;
  if (!user) return false;
  const auto owner = context_.object(store::SNUser::entity(), *user);
  return owner && static_cast<const store::SNUser&>(*owner).reference(store::SNUser::application) ==
                      application->rowID();
}

bool MaintenanceRoutine::needsReport(const store::Ref<SNInboxItem>& item) {
  const auto status = SNServerStatus::of(item);
  if (!status || !context_.exists(*item)) return false;
  if (!belongsHere(item->reference(SNInboxItem::device), item->reference(SNInboxItem::user))) return false;
  const std::optional<std::int64_t> raw = status->status();
  return raw != 0 && raw != 1;
}

void MaintenanceRoutine::sendInboxItems() {
  InboxItems items = context_.fetchRecords<SNInboxItem>();
  std::erase_if(items, [this](const auto& item) { return !needsReport(item); });
  if (items.empty()) return;
  logger_.log(LogLevel::warning, [&] {
    return "Found " + std::to_string(items.size()) + " inbox items that need to be sent...";
  });
  InboxItems read;
  InboxItems deleted;
  for (const auto& item : items) {
    SNServerStatus::of(item)->setStatus(ServerStatusState::pending);
    if (item->get(SNInboxItem::deletedAt)) {
      deleted.push_back(item);
    } else if (item->get(SNInboxItem::readAt)) {
      read.push_back(item);
    }
  }
  if (!read.empty()) {
    logger_.log(LogLevel::info,
                [&] { return "Trying to send 'read' for " + std::to_string(read.size()) + " items..."; });
    client_.sendRead(read, [this, read](const CallResult& result) {
      if (callbacks_.inboxRead) callbacks_.inboxRead(read, result);
    });
  }
  if (!deleted.empty()) {
    logger_.log(LogLevel::info, [&] {
      return "Trying to send 'delete' for " + std::to_string(deleted.size()) + " items...";
    });
    client_.sendDelete(deleted, [this, deleted](const CallResult& result) {
      if (callbacks_.inboxDeleted) callbacks_.inboxDeleted(deleted, result);
    });
  }
}

void MaintenanceRoutine::sendPushToken() {
  const auto gateway = database_.currentApplication()->get(SNApplication::pushGateway);
  auto status = unsentStatus(gateway);
  const auto token = status ? gateway->get(store::SNPushGateway::token) : std::nullopt;
  if (!token) return;
  logger_.log(LogLevel::warning, "Device token needs to be sent...");
  status->setStatus(ServerStatusState::pending);
  sendFor(gateway, server::PushTokenUpdate{*token});
}

void MaintenanceRoutine::sendLocations() {
  const auto locations = database_.currentApplication()->get(SNApplication::locations);
  auto status = unsentStatus(locations);
  if (!status) return;
  logger_.log(LogLevel::warning, "Locations preferences needs to be sent...");
  status->setStatus(ServerStatusState::pending);
  server::Endpoint endpoint = server::LocationUnregister{};
  if (locations->get(store::SNLocations::enabled)) endpoint = server::LocationRegister{};
  sendFor(locations, std::move(endpoint));
}

}  // namespace sorn::sync
