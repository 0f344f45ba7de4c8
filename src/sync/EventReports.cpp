#include "sync/EventReports.h"

#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace sorn::sync {

using server::CallResult;
using server::PlatformError;
using store::SNEvent;
using support::LogLevel;

namespace {

// Reported events that are deleted within one turn of the store's queue.
constexpr std::int64_t deletedInTurn = 64;

// Codes of errors, not of answers, for which events are given up: an `APIError` has the position of its case
// as code, so that events which the service refuses by a status are kept and sent again.
constexpr int badRequest = 400;
constexpr int notAcceptable = 406;

bool isSettled(const CallResult& result) {
  return result || result.error().code() == badRequest || result.error().code() == notAcceptable;
}

}  // namespace

store::RowRanges EventReports::find(store::RowRange range,
                                    const std::function<bool(const store::RowView&)>& isWanted) {
  store::RowRanges events;
  bool afterGap = false;
  const bool isWhole = context_.scan(SNEvent::entity(), range, [&](const store::RowView& row) {
    const bool isFound = isWanted(row);
    if (isFound) events.append(row.rowID(), afterGap);
    afterGap = !isFound;
    return true;
  });
  return isWhole ? events : store::RowRanges();
}

void EventReports::report(const store::RowRanges& events, Deletions deletions, Taker& taker) {
  tasks_.post([this, events, deletions, &taker] {
    reportEvents(events, [this, events, deletions, &taker](const CallResult& result) {
      const bool areSettled = isSettled(result);
      taker.takeAnswer(events, areSettled);
      if (areSettled) deleteEvents(events, deletions);
      taker.finish(events);
    });
  });
}

void EventReports::reportEvents(const store::RowRanges& events,
                                const server::APIClient::Completion& completion) {
  std::optional<platform::HttpBody> body = builder_.build(events);
  if (!body) {
    completion(server::CallFailure(PlatformError{PlatformError::storeDomain, PlatformError::unreadable}));
    return;
  }
  logger_.log(LogLevel::info, [&] {
    std::string list;
    for (const std::string& piece : body->pieces) list += piece;
    return "Attempting to report events: " + list;
  });
  client_.send(server::EventReport{*std::move(body)}, completion);
}

void EventReports::deleteEvents(const store::RowRanges& events, Deletions deletions) {
  for (const store::RowRanges& piece : events.split(deletedInTurn)) {
    context_.performBlockAndWait([&] { deleteWithinTurn(piece, deletions); });
  }
}

// One save for all of them; each gets its line afterwards.
void EventReports::deleteWithinTurn(const store::RowRanges& events, Deletions deletions) {
  std::vector<std::string> eventIDs;
  if (deletions == Deletions::told && logger_.isEnabled()) {
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
