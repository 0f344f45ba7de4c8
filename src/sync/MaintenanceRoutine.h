#pragma once

#include <functional>
#include <string>
#include <vector>

#include "server/APIClient.h"
#include "sorn/platform/UserDefaults.h"
#include "store/DBManager.h"
#include "store/entities/SNInboxItem.h"
#include "sync/EventStore.h"

namespace sorn::sync {

// The one retry mechanism of the library. Local changes mark their records as unsent; once a minute this
// routine resets reports that got no answer, sends what it finds, and writes the outcome back. There is no
// back-off and no limit of attempts: a record is sent again at every run until the service takes it.
//
// A run is synchronous on the store's queue but for its calls, which overlap and may outlive it. A `pending`
// status keeps a record out of the next run; reports of events are remembered in memory instead, so that a
// backlog is not rewritten on the disk at every attempt.
class MaintenanceRoutine {
 public:
  // A report without an answer for longer than this counts as failed.
  static constexpr double stalenessLimit = 30.0;  // seconds
  // Key of the defaults under which the last start keeps a dictionary with its file's name.
  static constexpr std::string_view lastStart = "kSORN_LAST_START";
  static constexpr std::string_view startFileName = "SRStartFileName";

  using InboxItems = std::vector<store::Ref<store::SNInboxItem>>;
  // What lies above. Members that are not set are left out.
  struct Callbacks {
    std::function<void(const std::string& file)> restart;  // may throw; the routine goes on
    std::function<void(const InboxItems&, const server::CallResult&)> inboxRead;
    std::function<void(const InboxItems&, const server::CallResult&)> inboxDeleted;
  };

  MaintenanceRoutine(store::DBManager& database, EventStore& events, server::APIClient& client,
                     const platform::UserDefaults& defaults, support::Logger& logger, Callbacks callbacks);

  // The timer's tick. Any thread.
  void maintain();

 private:
  void run();
  void restart();
  void resetStaleReports();
  void sendDevice();
  void sendUser();
  void sendPreferences();
  void sendEvents();
  void sendInboxItems();
  void sendPushToken();
  void sendLocations();

  // The status of the record if it says that the service lacks the record's state.
  std::optional<store::SNServerStatus> unsentStatus(const store::Ref<store::ManagedObject>& record) const;
  // Sends the endpoint and writes the outcome to the record's status.
  void sendFor(const store::Ref<store::ManagedObject>& record, server::Endpoint endpoint);
  store::RowRanges eventsToReport();
  void applyReport(const store::RowRanges& events, const server::CallResult& result);
  bool needsReport(const store::Ref<store::SNInboxItem>& item);
  bool belongsHere(std::optional<std::int64_t> device, std::optional<std::int64_t> user);

  store::DBManager& database_;
  store::ManagedObjectContext& context_;
  EventStore& events_;
  server::APIClient& client_;
  const platform::UserDefaults& defaults_;
  support::Logger& logger_;
  const Callbacks callbacks_;
  std::vector<store::RowRanges> reportsUnderWay_;  // on the store's queue
};

}  // namespace sorn::sync
