#include "events/UnsentEvents.h"

#include <algorithm>
#include <optional>
#include <string>

#include "sync/Ownership.h"

namespace sorn::events {

using store::RowRanges;
using store::SNEvent;

void UnsentEvents::sendUnsent() {
  const RowRanges events =
      reports_.find({}, [this](const store::RowView& event) { return needsReport(event); });
  if (events.empty()) return;
  logger_.log(support::LogLevel::warning,
              [&] { return "Found " + std::to_string(events.count()) + " events that need to be sent..."; });
  underWay_.push_back(events);
  reports_.report(events, sync::EventReports::Deletions::silent, *this);
}

bool UnsentEvents::needsReport(const store::RowView& event) {
  const bool isUnsent = event.integer(SNEvent::hasServerStatus) == 1 &&
                        (event.isAbsent(SNEvent::status) ||
                         (event.integer(SNEvent::status) != 0 && event.integer(SNEvent::status) != 1));
  if (!isUnsent) return false;
  const auto isUnder = [&](const RowRanges& report) { return report.contains(event.rowID()); };
  if (std::ranges::any_of(underWay_, isUnder)) return false;
  const auto row = [&](const auto& relation) {
    return event.isAbsent(relation) ? std::nullopt : std::optional(event.integer(relation));
  };
  return sync::belongsToApplication(database_, row(SNEvent::device), row(SNEvent::user));
}

void UnsentEvents::finish(const RowRanges& events) {
  database_.context().performBlockAndWait([&] {
    std::erase_if(underWay_, [&](const RowRanges& report) {
      return report.ranges().front().first == events.ranges().front().first;
    });
  });
}

}  // namespace sorn::events
