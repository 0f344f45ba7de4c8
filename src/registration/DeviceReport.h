#pragma once

#include "registration/DeviceRecords.h"
#include "sync/Report.h"

namespace sorn::registration {

// The device's facts, as long as the service does not have them.
class DeviceReport final : public sync::Report {
 public:
  DeviceReport(store::DBManager& database, DeviceRecords& records, server::APIClient& client,
               support::Logger& logger)
      : database_(database), records_(records), client_(client), logger_(logger) {}

  void sendUnsent() override;

 private:
  store::DBManager& database_;
  DeviceRecords& records_;
  server::APIClient& client_;
  support::Logger& logger_;
};

}  // namespace sorn::registration
