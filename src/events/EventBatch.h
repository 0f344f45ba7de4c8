#pragma once

#include <cstdint>
#include <memory>

#include "events/BackgroundTask.h"
#include "events/EventStore.h"
#include "support/Tasks.h"
#include "sync/EventReports.h"

namespace sorn::events {

// Sends what waits: when there are enough events, at each tick of a timer of its own, and on entering the
// background. One batch is out at a time, and everything pending goes with it. A reported event is deleted;
// after a failure the events wait for maintenance. Any thread.
class EventBatch final : public sync::EventReports::Taker {
 public:
  enum class Trigger : std::uint8_t { limit, timer };

  // The timer's period is that of the configuration of this moment; one that arrives later holds from the
  // next process on.
  EventBatch(store::DBManager& database, EventStore& events, sync::EventReports& reports,
             BackgroundTask& backgroundTask, server::ConfigurationStore& configuration, support::Tasks& tasks,
             support::Logger& logger);

  // Counts a new event towards the batch. An absent one, which is what a refused event gives, is only logged.
  void batchEvent(const store::Ref<store::SNEvent>& event);
  void startEventBatching(Trigger trigger);
  // Closes the session, saves, and has what is batched sent under a background task. Returns at once.
  void enterBackground();

  // For the report of a batch.
  void takeAnswer(const store::RowRanges& events, bool areSettled) override;
  void finish(const store::RowRanges& events) override;

 private:
  void count(const store::SNEvent& event, std::int64_t batchSize);
  void runBatch();

  store::DBManager& database_;
  store::ManagedObjectContext& context_;
  EventStore& events_;
  sync::EventReports& reports_;
  BackgroundTask& backgroundTask_;
  server::ConfigurationStore& configuration_;
  support::Tasks& tasks_;
  support::Logger& logger_;
  std::unique_ptr<support::Tasks::Timer> eventBatchingTimer_;
};

}  // namespace sorn::events
