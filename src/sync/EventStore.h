#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "device/DeviceManager.h"
#include "documents/EventCatalogue.h"
#include "server/ConfigurationStore.h"
#include "store/DBManager.h"
#include "store/entities/SNEvent.h"
#include "store/entities/SNPushGateway.h"
#include "sync/EventData.h"

namespace sorn::sync {

// What an event is made from.
struct NewEvent {
  documents::EventType type = documents::EventType::app_usage;
  std::string_view category = documents::EventCategory::none;
  std::string_view action;
  const EventData* data = nullptr;
  std::optional<std::string_view> campaignID = std::nullopt;
  std::optional<documents::EventCampaign> campaign = std::nullopt;
};

// Turns what happened into stored events, and keeps count of those that wait for a report, so that no event
// needs a query. Any thread, unless an operation says that it belongs on the store's queue.
class EventStore {
 public:
  // Called for each new event, on the store's queue, also when its save failed.
  using StoredHandler = std::function<void(const store::SNEvent&)>;

  EventStore(store::DBManager& database, server::ConfigurationStore& configuration,
             device::DeviceManager& device, support::Logger& logger, StoredHandler handleStoredEvent);

  // Stores the event, opening a session where one is missing. Absent when it is refused, or its save failed:
  // it is then kept in memory for the next save.
  store::Ref<store::SNEvent> createEvent(const NewEvent& event);
  // Deletes the event and saves; false when it has no identifier or the save failed.
  bool deleteEvent(store::SNEvent& event);

  // The events in state `pending`. All of these on the store's queue.
  std::size_t pendingCount();
  store::RowRanges pendingEvents();
  // A batch has taken these events out of the pending ones: all that were pending up to the last of them.
  void noteSettled(const store::RowRanges& events);
  // Events that have been pending for longer than the limit (seconds) become unsent. One without a date of
  // its status stays as it is.
  void resetStale(Date now, double limit);
  // Statuses of events have changed elsewhere: counts again before the next use.
  void forgetCounts() { isCounted_ = false; }

 private:
  struct Stored {
    store::Ref<store::SNEvent> event;
    bool isSaved = false;
  };

  Stored store(const NewEvent& event);
  std::string attributesOf(const NewEvent& event, const store::SNApplication& application);
  void associateWithSession(store::SNEvent& event, std::string_view action);
  std::int64_t authorizationStatus(const store::SNApplication& application);
  void countPending();
  void classifyPending(const std::function<bool(const store::RowView&)>& staysPending);

  store::DBManager& database_;
  store::ManagedObjectContext& context_;
  server::ConfigurationStore& configuration_;
  device::DeviceManager& device_;
  support::Logger& logger_;
  const StoredHandler handleStoredEvent_;

  // On the store's queue from here on.
  std::string constantAttributes_;  // versions, which never change within a process
  // The application's records that every event needs.
  store::Ref<store::SNUser> user_;
  store::Ref<store::SNDevice> deviceRecord_;
  store::Ref<store::SNPushGateway> gateway_;
  bool isCounted_ = false;
  std::size_t pendingCount_ = 0;
  std::int64_t lowWater_ = 0;   // no event with a lower row id is pending
  bool allAreVisited_ = false;  // every event from the low water on is pending
};

}  // namespace sorn::sync
