#pragma once

#include "places/PlaceRecords.h"
#include "sync/Report.h"

namespace sorn::places {

// Whether the host wants places watched, as long as the service does not know.
class LocationsReport final : public sync::Report {
 public:
  LocationsReport(store::ManagedObjectContext& context, PlaceRecords& records, server::APIClient& client,
                  support::Logger& logger)
      : context_(context), records_(records), client_(client), logger_(logger) {}

  void sendUnsent() override;

 private:
  store::ManagedObjectContext& context_;
  PlaceRecords& records_;
  server::APIClient& client_;
  support::Logger& logger_;
};

}  // namespace sorn::places
