#include "events/EventBatch.h"

#include <string>

#include "support/json/JsonWriter.h"

namespace sorn::events {

using store::SNEvent;
using support::LogLevel;

EventBatch::EventBatch(store::DBManager& database, EventStore& events, sync::EventReports& reports,
                       BackgroundTask& backgroundTask, server::ConfigurationStore& configuration,
                       support::Tasks& tasks, support::Logger& logger)
    : database_(database),
      context_(database.context()),
      events_(events),
      reports_(reports),
      backgroundTask_(backgroundTask),
      configuration_(configuration),
      tasks_(tasks),
      logger_(logger),
      eventBatchingTimer_(tasks.every(support::Tasks::Seconds(configuration.batchTimeout()),
                                      [this] { startEventBatching(Trigger::timer); })) {}

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
  context_.saveNowOrLater();
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
    backgroundTask_.end();
    return;
  }
  logger_.log(LogLevel::timer,
              [&] { return "Found " + std::to_string(events.count()) + " batched events to send..."; });
  reports_.report(events, sync::EventReports::Deletions::told, *this);
}

// Until the flag falls nobody else looks for events to report.
void EventBatch::takeAnswer(const store::RowRanges& events, bool areSettled) {
  context_.performBlockAndWait([&] {
    events_.noteSettled(events);
    if (areSettled) return;
    context_.setStatusOfRows(SNEvent::entity(), events, rawValue(store::ServerStatusState::isFalse),
                             context_.now());
  });
}

void EventBatch::finish(const store::RowRanges& /*events*/) {
  context_.performBlockAndWait([this] {
    database_.setMaintaining(false);
    backgroundTask_.end();
  });
}

// The closing event and its save come first: they must not wait for whether the system grants any time.
void EventBatch::enterBackground() {
  tasks_.post([this] {
    logger_.log(LogLevel::info, "Application entered background... Attempting save in DB...");
    context_.performBlockAndWait([this] { database_.endSession(); });
    context_.performBlock([this] { context_.saveNowOrLater(); });
    context_.performBlockAndWait([this] { backgroundTask_.begin(); });
    logger_.log(LogLevel::info, "Attempting to send batched events in bg...");
    startEventBatching(Trigger::limit);
  });
}

}  // namespace sorn::events
