#pragma once

#include <cstdint>

#include "server/APIClient.h"
#include "sync/EventStore.h"

namespace sorn::sync {

// Sends what waits: when there are enough events, at each tick of the batch timer, and on entering the
// background. One batch is out at a time, and everything pending goes with it. A reported event is deleted;
// after a failure the events wait for maintenance. Any thread.
class EventBatch {
 public:
  enum class Trigger : std::uint8_t { limit, timer };

  EventBatch(store::DBManager& database, EventStore& events, server::ConfigurationStore& configuration,
             server::APIClient& client, support::Logger& logger);

  // Counts a new event towards the batch. An absent one, which is what a refused event gives, is only logged.
  void batchEvent(const store::Ref<store::SNEvent>& event);
  void startEventBatching(Trigger trigger);

  // Whether a failed report's events are deleted all the same: for errors that carry 400 or 406 themselves. A
  // status of the service does not, so events that it refuses are kept and sent again.
  static bool isGivenUp(const server::CallResult& result);

  // Reported events that are deleted within one turn of the store's queue, so that nobody waits long for it.
  static constexpr std::int64_t deletedInTurn = 64;

 private:
  void count(const store::SNEvent& event, std::int64_t batchSize);
  void runBatch();
  void applyResult(const store::RowRanges& events, const server::CallResult& result);
  void deleteEvents(const store::RowRanges& events);

  store::DBManager& database_;
  store::ManagedObjectContext& context_;
  EventStore& events_;
  server::ConfigurationStore& configuration_;
  server::APIClient& client_;
  support::Logger& logger_;
};

}  // namespace sorn::sync
