#pragma once

#include <functional>
#include <optional>
#include <string_view>
#include <vector>

#include "server/APIClient.h"
#include "store/DBManager.h"
#include "store/entities/SNServerStatus.h"
#include "support/Logger.h"

namespace sorn::sync {

// What of a feature has to reach the service. Maintenance asks each one at every run.
class Report {
 public:
  virtual ~Report() = default;

  // Looks for what is unsent, says so in the log, and sends it; the answer is taken when it comes. On the
  // store's queue, and without waiting.
  virtual void sendUnsent() = 0;
};

// In the order in which maintenance goes through them.
using Reports = std::vector<std::reference_wrapper<Report>>;

// The outcome of a call as the status of what it was about.
inline store::ServerStatusState stateOf(const server::CallResult& result) {
  return result ? store::ServerStatusState::isTrue : store::ServerStatusState::isFalse;
}

// The status of the record if it says that the service lacks the record's state.
std::optional<store::SNServerStatus> unsentStatus(const store::Ref<store::ManagedObject>& record);

// Writes the outcome of a call to the status of the record that it was about, and saves. Any thread.
void applyResult(store::ManagedObjectContext& context, const store::Ref<store::ManagedObject>& record,
                 const server::CallResult& result);

}  // namespace sorn::sync
