#pragma once

#include <vector>

#include "store/DBManager.h"
#include "sync/EventReports.h"
#include "sync/Report.h"

namespace sorn::events {

// The events that a batch could not bring to the service, or that waited for one too long. A report under way
// is remembered here rather than in its events, so that a backlog is not rewritten on the disk at every
// attempt.
class UnsentEvents final : public sync::Report, public sync::EventReports::Taker {
 public:
  UnsentEvents(store::DBManager& database, sync::EventReports& reports, support::Logger& logger)
      : database_(database), reports_(reports), logger_(logger) {}

  void sendUnsent() override;

  void takeAnswer(const store::RowRanges& /*events*/, bool /*areSettled*/) override {}
  void finish(const store::RowRanges& events) override;

 private:
  bool needsReport(const store::RowView& event);

  store::DBManager& database_;
  sync::EventReports& reports_;
  support::Logger& logger_;
  std::vector<store::RowRanges> underWay_;  // on the store's queue
};

}  // namespace sorn::events
