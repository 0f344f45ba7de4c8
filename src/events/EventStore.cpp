#include "events/EventStore.h"

#include "documents/Configuration.h"
#include "store/entities/SNServerStatus.h"
#include "support/TextTrim.h"

namespace sorn::events {

using documents::EventAction;
using documents::EventType;
using documents::Features;
using store::ServerStatusState;
using store::SNApplication;
using store::SNEvent;
using store::SNSession;
using support::LogLevel;
using sync::NewEvent;

namespace {

// The application's related record, kept in the holder so that it is not read again for each event.
template <class Target>
const store::Ref<Target>& held(store::Ref<Target>& holder, const SNApplication& application,
                               const store::ToOne<Target>& relation) {
  const auto row = application.reference(relation);
  if (!row) {
    holder = nullptr;
  } else if (!holder || holder->rowID() != *row || !holder->isAlive()) {
    holder = application.get(relation);
  }
  return holder;
}

}  // namespace

EventStore::EventStore(store::DBManager& database, server::ConfigurationStore& configuration,
                       device::DeviceManager& device, support::Logger& logger, sync::EventReports& reports,
                       sync::StoredEventObserver& observer)
    : database_(database),
      context_(database.context()),
      configuration_(configuration),
      device_(device),
      logger_(logger),
      reports_(reports),
      observer_(observer) {}

store::Ref<SNEvent> EventStore::createEvent(const NewEvent& event) {
  if (!documents::isNamedAction(event.action) && support::trimWhitespaceAndNewlines(event.action).empty()) {
    logger_.log(LogLevel::info, "Event with empty action. Ignoring...");
    return nullptr;
  }
  // Campaign events do not depend on this switch.
  if (event.type == EventType::app_usage && !configuration_.isEnabled(&Features::reportUsage, true)) {
    logger_.log(LogLevel::info, "AppUsage feature is disabled... Event will be not created...");
    return nullptr;
  }
  Stored stored = context_.performBlockAndWait([&] { return store(event); });
  return stored.isSaved ? std::move(stored.event) : nullptr;
}

EventStore::Stored EventStore::store(const NewEvent& event) {
  const store::Ref<SNApplication> application = database_.currentApplication();
  std::string attributes = attributesOf(event, *application);
  if (!isCounted_) countPending();
  Stored stored{context_.insert<SNEvent>()};
  SNEvent& record = *stored.event;
  store::SNServerStatus::findOrCreate(stored.event).setStatus(ServerStatusState::pending);
  ++pendingCount_;
  record.set(SNEvent::type, documents::textOf(event.type));
  record.set(SNEvent::category, event.category);
  record.set(SNEvent::action, event.action);
  record.set(SNEvent::user, held(user_, *application, SNApplication::activeUser));
  record.set(SNEvent::device, held(deviceRecord_, *application, SNApplication::device));
  record.set(SNEvent::timestamp, context_.now());
  record.set(SNEvent::campaignID, event.campaignID.value_or("NO_CAMPAIGN"));
  if (event.campaign) record.set(SNEvent::campaignType, *event.campaign + 1);
  associateWithSession(record, event.action);
  record.set(SNEvent::extra, std::move(attributes));
  stored.isSaved = context_.save();
  observer_.handleStoredEvent(record);
  return stored;
}

// The attributes as JSON text. When one of them is none, all go, the library's own included.
std::string EventStore::attributesOf(const NewEvent& event, const SNApplication& application) {
  // Room for what the library adds to the host's attributes.
  constexpr std::size_t usualSize = 160;
  std::string text;
  text.reserve(usualSize + (event.data ? event.data->members().size() : 0));
  text += '{';
  const bool isValid = !event.data || event.data->isValid();
  if (!isValid) {
    logger_.log(LogLevel::warning,
                [&] { return "Invalid JSON data: {" + event.data->members() + "}\n Stripping out..."; });
    return "{}";
  }
  if (event.data && !event.data->members().empty()) text.append(event.data->members()).append(",");
  text += "\"campaign_ids\":[";
  for (const std::string& campaign : database_.campaignIDs()) {
    if (text.back() != '[') text += ',';
    if (!support::appendText(text, campaign)) return "{}";
  }
  text += "],";
  if (constantAttributes_.empty()) {
    constantAttributes_ = "\"sv\":" + std::to_string(device_.extractedSDKVersion()) + ",\"app_version\":";
    if (!support::appendText(constantAttributes_, device_.applicationVersion()))
      constantAttributes_ += "null";
    constantAttributes_ += ",\"os_version\":";
    if (!support::appendText(constantAttributes_, device_.systemVersion())) constantAttributes_ += "null";
  }
  text += constantAttributes_;
  text += ",\"authorization_status\":";
  support::appendNumber(text, authorizationStatus(application));
  text += ",\"location_status\":";
  support::appendNumber(text, static_cast<std::int64_t>(device_.locationStatus()));
  text += '}';
  return text;
}

std::int64_t EventStore::authorizationStatus(const SNApplication& application) {
  const auto& gateway = held(gateway_, application, SNApplication::pushGateway);
  return gateway ? gateway->get(store::SNPushGateway::authorizationStatus).value_or(0) : 0;
}

void EventStore::associateWithSession(SNEvent& event, std::string_view action) {
  // A push may arrive in the background, so its receipt never opens a session.
  if (action == EventAction::pushCampaignReceived && !database_.backingCurrentSession()) return;
  if (!configuration_.isEnabled(&Features::reportUsage, true)) {
    logger_.log(LogLevel::warning, "Will not associate with session since the feature is disabled");
    return;
  }
  store::Ref<SNSession> session = database_.backingCurrentSession();
  if (!session) session = database_.currentSession();
  if (!session || !session->managedObjectContext()) return;
  const std::int64_t serialNumber = session->get(SNSession::serialNumber).value_or(0) + 1;
  session->set(SNSession::serialNumber, serialNumber);
  event.set(SNEvent::serialNumber, serialNumber);
  if (const std::string* sessionID = session->text(SNSession::sessionID)) {
    event.set(SNEvent::sessionID, *sessionID);
  }
  event.set(SNEvent::session, session);
}

bool EventStore::deleteEvent(SNEvent& event) {
  return context_.performBlockAndWait([&] {
    const std::optional<std::string> eventID = event.get(SNEvent::eventID);
    if (!eventID) {
      logger_.log(LogLevel::warning, "Event without an id submitted for deletion.");
      return false;
    }
    context_.deleteObject(event);
    forgetCounts();
    const bool isDeleted = context_.save();
    logger_.log(isDeleted ? LogLevel::success : LogLevel::error,
                [&] { return (isDeleted ? "Deleted event: " : "Failed to delete event: ") + *eventID; });
    return isDeleted;
  });
}

std::size_t EventStore::pendingCount() {
  if (!isCounted_) countPending();
  return pendingCount_;
}

void EventStore::countPending() {
  classifyPending([](const store::RowView&) { return true; });
}

// Counts the pending events that the test lets stay so.
void EventStore::classifyPending(const std::function<bool(const store::RowView&)>& staysPending) {
  pendingCount_ = 0;
  lowWater_ = context_.lastRowID() + 1;
  allAreVisited_ = true;
  // What could not be read to the end is counted again the next time.
  isCounted_ = context_.scan(SNEvent::entity(), {}, [&](const store::RowView& row) {
    const bool isPending = !row.isAbsent(SNEvent::status) && row.integer(SNEvent::status) == 0;
    if (isPending && staysPending(row)) {
      if (pendingCount_++ == 0) lowWater_ = row.rowID();
    } else if (pendingCount_ > 0) {
      allAreVisited_ = false;
    }
    return true;
  });
}

void EventStore::resetStale(Date now, double limit) {
  store::RowRanges stale;
  std::int64_t lastFresh = 0;
  classifyPending([&](const store::RowView& row) {
    const bool isStale = !row.isAbsent(SNEvent::statusUpdated) &&
                         secondsSince1970(now) - row.real(SNEvent::statusUpdated) > limit;
    if (isStale) {
      stale.append(row.rowID(), stale.empty() || lastFresh > stale.ranges().back().last);
    } else {
      lastFresh = row.rowID();
    }
    return !isStale;
  });
  if (stale.empty()) return;
  context_.setStatusOfRows(SNEvent::entity(), stale, rawValue(ServerStatusState::isFalse), now);
  // At once: while a change of many rows waits for its save, every look at events has to take it into
  // account.
  context_.saveNowOrLater();
}

store::RowRanges EventStore::pendingEvents() {
  if (!isCounted_) countPending();
  if (pendingCount_ == 0) return {};
  if (allAreVisited_) return store::RowRanges({lowWater_, context_.lastRowID()}, pendingCount_);
  return reports_.find({lowWater_, context_.lastRowID()}, [](const store::RowView& row) {
    return !row.isAbsent(SNEvent::status) && row.integer(SNEvent::status) == 0;
  });
}

void EventStore::noteSettled(const store::RowRanges& events) {
  if (!isCounted_ || events.empty()) return;
  pendingCount_ -= std::min(pendingCount_, events.count());
  // What came while the batch was out has higher ids and is pending, all of it.
  lowWater_ = events.ranges().back().last + 1;
  allAreVisited_ = true;
}

}  // namespace sorn::events
