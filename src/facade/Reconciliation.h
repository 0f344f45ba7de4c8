#pragma once

#include <functional>
#include <optional>
#include <string>

#include "device/DeviceManager.h"
#include "documents/DeviceInfo.h"
#include "facade/FacadeState.h"
#include "server/APIClient.h"
#include "server/ConfigurationStore.h"
#include "store/DBManager.h"
#include "support/Logger.h"

namespace sorn::facade {

// What a start ends in, on the store's queue: brings the stored records into line with the device as it is
// now, tells the service when they differ or are old, repairs the user, and marks the library as started. A
// step that fails does not stop the next one, and nothing here waits for the network.
class Reconciliation {
 public:
  // What other subsystems do at a start. Members that are not set are left out.
  struct Signals {
    std::function<void(const std::string& userID)> loginUser;  // without waiting
    std::function<void(const std::string& token)> updatePushToken;
    std::function<void()> renewPushRegistration;
    std::function<void()> monitorPlaces;
    std::function<void()> checkProvisionalNotifications;
  };

  Reconciliation(FacadeState& state, store::DBManager& database, device::DeviceManager& device,
                 server::ConfigurationStore& configuration, server::APIClient& client,
                 support::Logger& logger, Signals signals);

  void run(SornMode mode);

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
  void repairUser(bool isSameVersion);
  void registerTokenAgain();
  void monitorPlaces();

  FacadeState& state_;
  store::DBManager& database_;
  device::DeviceManager& device_;
  server::ConfigurationStore& configuration_;
  server::APIClient& client_;
  support::Logger& logger_;
  const Signals signals_;
};

}  // namespace sorn::facade
