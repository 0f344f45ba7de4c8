#pragma once

#include <string>
#include <vector>

#include "sync/MaintenanceRoutine.h"
#include "sync/SyncFixture.h"

namespace sorn::sync {

inline constexpr const char* save = "ios/save/json";
inline constexpr const char* activate = "user/activate/json";
inline constexpr const char* preferences = "ios/preferences/save/json";
inline constexpr const char* inboxRead = "inbox/read/json";
inline constexpr const char* inboxDelete = "inbox/delete/json";
inline constexpr const char* pushToken = "ios/push/token/update/json";
inline constexpr const char* locationRegister = "ios/location/register/json";
inline constexpr const char* locationUnregister = "ios/location/unregister/json";

// A record of an application, and the call that reports it.
struct Owner {
  const char* table;
  const char* path;
};
inline constexpr Owner owners[] = {{"SNDevice", save},
                                   {"SNUser", activate},
                                   {"SNPreferences", preferences},
                                   {"SNPushGateway", pushToken},
                                   {"SNLocations", locationRegister}};

// A library whose records a test plants in any state, and what maintenance then sends.
class MaintenanceTest : public tests::ServiceFixture {
 protected:
  static constexpr const char* ownDevice = "(SELECT max(device) FROM SNApplication)";
  static constexpr const char* ownUser = "(SELECT max(activeUser) FROM SNApplication)";

  // A store in which the service knows everything, left by a process that is gone.
  MaintenanceTest() {
    launch();
    facade::Services& services = library_->services();
    EXPECT_TRUE(services.deviceRecords.deviceStatusUpdate(store::ServerStatusState::isTrue));
    services.userRecords.userActivation("ann");
    services.userRecords.userStatus(store::ServerStatusState::isTrue);
    services.userRecords.preferencesStore({"tea", "tiles"}, store::ServerStatusState::isTrue);
    services.pushRecords.pushTokenStore("0a1b", store::ServerStatusState::isTrue);
    services.placeRecords.locationsUpdate(true);
    die();
    plant("UPDATE SNLocations SET status = 1");
  }
  void setStatus(const std::string& table, const std::string& status, double age = 0) {
    plant("UPDATE " + table + " SET status = " + status +
          ", statusUpdated = " + std::to_string(1'700'000'000 - age));
  }
  void addEvent(const std::string& action, const std::string& status, const std::string& date = "1700000000",
                const std::string& device = ownDevice, const std::string& user = ownUser) {
    plant(
        "INSERT INTO SNEvent (eventID, category, action, timestamp, device, user, hasServerStatus, status, "
        "statusUpdated) VALUES ('" +
        action + "', 'c', '" + action + "', 1, " + device + ", " + user + ", 1, " + status + ", " + date +
        ")");
  }
  void addItem(const std::string& campaign, const std::string& dates, const std::string& status = "-1",
               const std::string& device = ownDevice, const std::string& user = ownUser) {
    plant(
        "INSERT INTO SNInboxItem (campaignID, category, readAt, deletedAt, device, user, hasServerStatus, "
        "status, statusUpdated) VALUES ('" +
        campaign + "', 1, " + dates + ", " + device + ", " + user + ", 1, " + status + ", 1700000000)");
  }
  void maintain() {
    library_->services().maintenance.maintain();
    settle();
  }
  std::string statusOf(const std::string& table) {
    run([this] { library_->context().saveNowOrLater(); });
    return stored("SELECT status FROM " + table + " ORDER BY id");
  }
  std::vector<std::string> campaignsOf(const nlohmann::json& list) {
    std::vector<std::string> campaigns;
    for (const auto& item : list) campaigns.push_back(item["campaign_id"]);
    return campaigns;
  }
};

}  // namespace sorn::sync
