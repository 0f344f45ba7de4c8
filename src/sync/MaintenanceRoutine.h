#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "sorn/platform/UserDefaults.h"
#include "store/DBManager.h"
#include "support/Logger.h"
#include "support/Tasks.h"
#include "sync/Report.h"

namespace sorn::sync {

// Starts the library anew from the file of an earlier start.
class Restart {
 public:
  virtual ~Restart() = default;
  // Returns at once when the library has started; throws what a host's own start would.
  virtual void start(const std::string& file) = 0;
};

// The events in state `pending`: too many to be looked at as records.
class PendingEvents {
 public:
  virtual ~PendingEvents() = default;
  // Those that have been pending for longer than the limit (seconds) become unsent. On the store's queue.
  virtual void resetStale(Date now, double limit) = 0;
};

// The one retry mechanism of the library. Local changes mark their records as unsent; once a minute this
// routine resets reports that got no answer and goes through what the features have to report. There is no
// back-off and no limit of attempts: a record is sent again at every run until the service takes it.
//
// A run is synchronous on the store's queue but for its calls, which overlap and may outlive it.
class MaintenanceRoutine {
 public:
  static constexpr support::Tasks::Seconds period{60.0};
  // A report without an answer for longer than this counts as failed.
  static constexpr double stalenessLimit = 30.0;  // seconds
  // Key of the defaults under which the last start keeps a dictionary with its file's name.
  static constexpr std::string_view lastStart = "kSORN_LAST_START";
  static constexpr std::string_view startFileName = "SRStartFileName";

  // Runs at each tick of a timer of its own.
  MaintenanceRoutine(store::DBManager& database, const platform::UserDefaults& defaults,
                     support::Tasks& tasks, support::Logger& logger, Restart& restart, PendingEvents& events,
                     Reports reports);

  // The timer's tick. Any thread.
  void maintain();

 private:
  void run();
  void restart();
  void resetStaleReports();

  store::DBManager& database_;
  store::ManagedObjectContext& context_;
  const platform::UserDefaults& defaults_;
  support::Logger& logger_;
  Restart& restart_;
  PendingEvents& events_;
  const Reports reports_;
  std::unique_ptr<support::Tasks::Timer> maintenanceTimer_;
};

}  // namespace sorn::sync
