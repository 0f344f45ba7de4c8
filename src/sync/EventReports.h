#pragma once

#include <cstdint>
#include <functional>
#include <optional>

#include "server/APIClient.h"
#include "store/ManagedObjectContext.h"
#include "store/entities/SNEvent.h"
#include "support/Logger.h"
#include "support/Tasks.h"
#include "sync/EventReportBuilder.h"

namespace sorn::sync {

// The one road on which stored events reach the service: finds the wanted ones, reports them, and deletes
// them once the service has them, in turns short enough that nobody waits long for the store.
class EventReports {
 public:
  // Whether each deletion is told in the log.
  enum class Deletions : std::uint8_t { told, silent };
  // What becomes of a report, on the task thread.
  class Taker {
   public:
    virtual ~Taker() = default;
    // The report has its answer. The events are deleted next, or else kept as they are.
    virtual void takeAnswer(const store::RowRanges& events, bool areSettled) = 0;
    // Nothing more is done with them.
    virtual void finish(const store::RowRanges& events) = 0;
  };

  EventReports(store::ManagedObjectContext& context, server::APIClient& client, support::Tasks& tasks,
               EventReportBuilder& builder, support::Logger& logger)
      : context_(context), client_(client), tasks_(tasks), builder_(builder), logger_(logger) {}

  // The events of this range that are wanted; nothing when not all could be read. On the store's queue.
  store::RowRanges find(store::RowRange range, const std::function<bool(const store::RowView&)>& isWanted);

  // Sends a report of these events and, when it is settled, deletes them. Any thread.
  void report(const store::RowRanges& events, Deletions deletions, Taker& taker);

 private:
  void reportEvents(const store::RowRanges& events, const server::APIClient::Completion& completion);
  void deleteEvents(const store::RowRanges& events, Deletions deletions);
  void deleteWithinTurn(const store::RowRanges& events, Deletions deletions);

  store::ManagedObjectContext& context_;
  server::APIClient& client_;
  support::Tasks& tasks_;
  EventReportBuilder& builder_;
  support::Logger& logger_;
};

}  // namespace sorn::sync
