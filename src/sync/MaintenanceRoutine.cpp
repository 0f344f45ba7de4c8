#include "sync/MaintenanceRoutine.h"

#include <exception>
#include <utility>

#include "store/entities/SNEvent.h"

namespace sorn::sync {

using store::Predicate;
using store::ServerStatusState;
using store::SNServerStatus;
using support::LogLevel;

MaintenanceRoutine::MaintenanceRoutine(store::DBManager& database, const platform::UserDefaults& defaults,
                                       support::Tasks& tasks, support::Logger& logger, Restart& restart,
                                       PendingEvents& events, Reports reports)
    : database_(database),
      context_(database.context()),
      defaults_(defaults),
      logger_(logger),
      restart_(restart),
      events_(events),
      reports_(std::move(reports)),
      maintenanceTimer_(tasks.every(period, [this] { maintain(); })) {}

void MaintenanceRoutine::maintain() {
  context_.performBlock([this] { run(); });
}

// The restart comes before the flag: it has its own way to return early, and its failure must not leave the
// flag behind. The flag covers the scan alone; what keeps a call from being sent twice is the status of its
// record.
void MaintenanceRoutine::run() {
  if (database_.isMaintaining()) {
    logger_.log(LogLevel::warning, "Already maintaining... bail out");
    return;
  }
  logger_.log(LogLevel::timer, "Starting maintenance routine... (Period: 60.0 sec)");
  restart();
  database_.setMaintaining(true);
  resetStaleReports();
  for (Report& report : reports_) report.sendUnsent();
  logger_.log(LogLevel::info, "Finishing maintenance routine...");
  context_.saveNowOrLater();
  database_.setMaintaining(false);
}

// For a process that the system launched without the host's own start; otherwise `start` returns at once.
void MaintenanceRoutine::restart() {
  const std::optional<Value> stored = defaults_.object(lastStart);
  const Dictionary* dictionary = stored ? stored->as<Dictionary>() : nullptr;
  if (!dictionary) return;
  const auto file = dictionary->find(std::string(startFileName));
  const std::string* name = file == dictionary->end() ? nullptr : file->second.as<std::string>();
  if (!name) return;
  try {
    restart_.start(*name);
  } catch (const std::exception&) {
    // The host was told when it started itself; here there is nobody to tell.
  }
}

// All owners of a status, also those that no report looks at any more, such as a user who has been replaced.
void MaintenanceRoutine::resetStaleReports() {
  const double now = secondsSince1970(context_.now());
  for (const store::EntityDescription* entity : store::allEntities()) {
    const std::size_t column = entity->statusColumn;
    if (column == store::EntityDescription::noStatus || entity == &store::SNEvent::entity()) continue;
    const Predicate isPending = Predicate::compare(column, Predicate::Comparison::equal, std::int64_t{1}) &&
                                Predicate::compare(column + 1, Predicate::Comparison::equal, std::int64_t{0});
    for (const auto& record : context_.fetchObjects(*entity, isPending)) {
      auto status = SNServerStatus::of(record);
      const auto lastUpdated = status ? status->lastUpdated() : std::nullopt;
      if (lastUpdated && now - secondsSince1970(*lastUpdated) > stalenessLimit) {
        status->setStatus(ServerStatusState::isFalse);
      }
    }
  }
  events_.resetStale(context_.now(), stalenessLimit);
}

}  // namespace sorn::sync
