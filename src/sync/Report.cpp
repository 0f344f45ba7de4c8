#include "sync/Report.h"

namespace sorn::sync {

using store::ServerStatusState;
using store::SNServerStatus;

std::optional<SNServerStatus> unsentStatus(const store::Ref<store::ManagedObject>& record) {
  std::optional<SNServerStatus> status = SNServerStatus::of(record);
  if (!status || status->statusState() != ServerStatusState::isFalse) return std::nullopt;
  return status;
}

void applyResult(store::ManagedObjectContext& context, const store::Ref<store::ManagedObject>& record,
                 const server::CallResult& result) {
  context.performBlockAndWait([&] {
    if (auto status = SNServerStatus::of(record)) status->setStatus(stateOf(result));
    context.saveNowOrLater();
  });
}

}  // namespace sorn::sync
