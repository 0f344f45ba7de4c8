#pragma once

#include <optional>

#include "documents/DeviceInfo.h"
#include "registration/DeviceRecords.h"
#include "server/APIClient.h"
#include "server/ConfigurationStore.h"
#include "sync/Report.h"
#include "sync/StartStep.h"

namespace sorn::registration {

// Brings the device's record into line with the device as it is now, and tells the service when they differ,
// when what it knows is a day old, or when it never accepted the record. Its answer brings the account's
// configuration.
class DeviceStep final : public sync::StartStep {
 public:
  DeviceStep(store::DBManager& database, DeviceRecords& records, device::DeviceManager& device,
             server::ConfigurationStore& configuration, server::APIClient& client, support::Logger& logger)
      : database_(database),
        records_(records),
        device_(device),
        configuration_(configuration),
        client_(client),
        logger_(logger) {}

  void run(sync::StartFindings& start) override;

 private:
  // What the device's record said before this start changed anything.
  struct Findings {
    documents::DeviceInfo current;
    std::optional<store::ServerStatusState> status;  // absent without a status record
    bool isOld = true;
    bool isSame = false;
    bool isSameVersion = true;  // as to its first number
  };

  Findings compare();
  bool isOld(const std::optional<store::SNServerStatus>& status) const;
  void logDifferences(const documents::DeviceInfo& stored, const documents::DeviceInfo& current);
  void contactServerIfNeeded(const Findings& findings);
  void contactServer();
  void takeAnswer(const server::CallResult& result);
  void logOutcome(const server::CallResult& result, bool isSaved);

  store::DBManager& database_;
  DeviceRecords& records_;
  device::DeviceManager& device_;
  server::ConfigurationStore& configuration_;
  server::APIClient& client_;
  support::Logger& logger_;
};

}  // namespace sorn::registration
