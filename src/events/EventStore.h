#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "device/DeviceManager.h"
#include "server/ConfigurationStore.h"
#include "store/DBManager.h"
#include "store/entities/SNEvent.h"
#include "store/entities/SNPushGateway.h"
#include "sync/EventRecorder.h"
#include "sync/EventReports.h"
#include "sync/MaintenanceRoutine.h"

namespace sorn::events {

// Turns what happened into stored events, and keeps count of those that wait for a report, so that no event
// needs a query. Any thread, unless an operation says that it belongs on the store's queue.
class EventStore final : public sync::PendingEvents {
 public:
  EventStore(store::DBManager& database, server::ConfigurationStore& configuration,
             device::DeviceManager& device, support::Logger& logger, sync::EventReports& reports,
             sync::StoredEventObserver& observer);

  // Stores the event, opening a session where one is missing. Absent when it is refused, or its save failed:
  // it is then kept in memory for the next save.
  store::Ref<store::SNEvent> createEvent(const sync::NewEvent& event);
  // Deletes the event and saves; false when it has no identifier or the save failed.
  bool deleteEvent(store::SNEvent& event);

  // The events in state `pending`. All of these on the store's queue.
  std::size_t pendingCount();
  store::RowRanges pendingEvents();
  // A batch has taken these events out of the pending ones: all that were pending up to the last of them.
  void noteSettled(const store::RowRanges& events);
  // One without a date of its status stays as it is.
  void resetStale(Date now, double limit) override;
  // Statuses of events have changed elsewhere: counts again before the next use.
  void forgetCounts() { isCounted_ = false; }

 private:
  struct Stored {
    store::Ref<store::SNEvent> event;
    bool isSaved = false;
  };

  Stored store(const sync::NewEvent& event);
  std::string attributesOf(const sync::NewEvent& event, const store::SNApplication& application);
  void associateWithSession(store::SNEvent& event, std::string_view action);
  std::int64_t authorizationStatus(const store::SNApplication& application);
  void countPending();
  void classifyPending(const std::function<bool(const store::RowView&)>& staysPending);

  store::DBManager& database_;
  store::ManagedObjectContext& context_;
  server::ConfigurationStore& configuration_;
  device::DeviceManager& device_;
  support::Logger& logger_;
  sync::EventReports& reports_;
  sync::StoredEventObserver& observer_;

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

}  // namespace sorn::events
