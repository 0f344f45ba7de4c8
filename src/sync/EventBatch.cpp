#include "sync/EventBatch.h"

#include <string>
#include <tuple>
#include <vector>

#include "support/json/JsonWriter.h"

namespace sorn::sync {

using store::SNEvent;
using support::LogLevel;

EventBatch::EventBatch(store::DBManager& database, EventStore& events,
                       server::ConfigurationStore& configuration, server::APIClient& client,
                       support::Logger& logger)
    : database_(database),
      context_(database.context()),
      events_(events),
      configuration_(configuration),
      client_(client),
      logger_(logger) {}

void EventBatch::batchEvent(const store::Ref<SNEvent>& event) {
  if (!event) {
    // The ordinary outcome while the feature is off, which is why the line names it.
    const bool isOn = configuration_.isEnabled(&documents::Features::reportUsage, true);
    logger_.log(LogLevel::warning, [&] {
      return "Invalid event tried to be added for batching. (AppUsage feature is " +
             std::string(isOn ? "on" : "off") + ")";
    });
    return;
  }
  const std::int64_t batchSize = configuration_.batchSize();
  // Within the event's own turn when its creator still has it: a block of its own would stand in the way of
  // the next event only to find, nearly always, that there is nothing to do.
  context_.performBlockAndWait([&] { count(*event, batchSize); });
}

void EventBatch::count(const SNEvent& event, std::int64_t batchSize) {
  context_.save();
  // Asked once: this runs for each event.
  const bool isTold = logger_.isEnabled();
  if (isTold) logger_.log(LogLevel::info, [&] { return "Batching event: " + event.description(); });
  const std::size_t waiting = events_.pendingCount();
  if (static_cast<std::int64_t>(waiting) >= batchSize) {
    logger_.log(LogLevel::info, "Event batch limit reached...");
    startEventBatching(Trigger::limit);
  } else if (isTold) {
    logger_.log(LogLevel::info, [&] { return std::to_string(waiting) + " events batched..."; });
  }
}

void EventBatch::startEventBatching(Trigger trigger) {
  logger_.log(LogLevel::timer, [&] {
    if (trigger == Trigger::limit)
      return std::string("Starting event batching routine... (Batch limit reached)");
    std::string period;
    support::appendNumber(period, configuration_.batchTimeout());
    if (period.find_first_of(".e") == std::string::npos) period += ".0";
    return "Starting event batching routine... (Period: " + period + " sec)";
  });
  // A batch that is out already would end the block at once: then none is queued.
  if (context_.isCurrentQueue() && database_.isMaintaining()) {
    logger_.log(LogLevel::timer, "Already maintaining... bail out");
    return;
  }
  context_.performBlock([this] { runBatch(); });
}

void EventBatch::runBatch() {
  if (database_.isMaintaining()) {
    logger_.log(LogLevel::timer, "Already maintaining... bail out");
    return;
  }
  database_.setMaintaining(true);
  const store::RowRanges events = events_.pendingEvents();
  if (events.empty()) {
    database_.setMaintaining(false);
    database_.endBackgroundTask();
    return;
  }
  logger_.log(LogLevel::timer,
              [&] { return "Found " + std::to_string(events.count()) + " batched events to send..."; });
  client_.reportEvents(events,
                       [this, events](const server::CallResult& result) { applyResult(events, result); });
}

bool EventBatch::isGivenUp(const server::CallResult& result) {
  const auto* error = std::get_if<server::CallError>(&result);
  return error && (error->code() == 400 || error->code() == 406);
}

// Not on the store's queue. Until the flag falls nobody else looks for events to report.
void EventBatch::applyResult(const store::RowRanges& events, const server::CallResult& result) {
  const bool isSettled = server::succeeded(result) || isGivenUp(result);
  context_.performBlockAndWait([&] {
    events_.noteSettled(events);
    if (isSettled) return;
    context_.setStatusOfRows(SNEvent::entity(), events, rawValue(store::ServerStatusState::isFalse),
                             context_.now());
  });
  if (isSettled) {
    for (const store::RowRanges& piece : events.split(deletedInTurn)) {
      context_.performBlockAndWait([&] { deleteEvents(piece); });
    }
  }
  context_.performBlockAndWait([&] {
    database_.setMaintaining(false);
    database_.endBackgroundTask();
  });
}

// One save for all of them; each gets its line afterwards.
void EventBatch::deleteEvents(const store::RowRanges& events) {
  std::vector<std::string> eventIDs;
  if (logger_.isEnabled()) {
    for (const store::RowRange& range : events.ranges()) {
      std::ignore = context_.scan(SNEvent::entity(), range, [&](const store::RowView& event) {
        eventIDs.emplace_back(event.text(SNEvent::eventID));
        return true;
      });
    }
  }
  context_.deleteRows(SNEvent::entity(), events);
  const bool isDeleted = context_.save();
  for (const std::string& eventID : eventIDs) {
    logger_.log(isDeleted ? LogLevel::success : LogLevel::error,
                [&] { return (isDeleted ? "Deleted event: " : "Failed to delete event: ") + eventID; });
  }
}

}  // namespace sorn::sync
