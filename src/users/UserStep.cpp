#include "users/UserStep.h"

namespace sorn::users {

using store::SNServerStatus;
using store::SNUser;

// A missing user is stored alone, with neither a call nor an event: its `pending` status falls back, and
// maintenance tells the service.
void UserStep::run(sync::StartFindings& findings) {
  const store::Ref<SNUser> user = database_.currentUser();
  const auto userID = user ? user->get(SNUser::userID) : std::nullopt;
  if (!userID) {
    records_.loginDefaultUser();
  } else if (!findings.isSameVersion) {
    logger_.log(support::LogLevel::info, "SDK Version changed... Re-Logging the user in...");
    if (auto status = SNServerStatus::of(user)) status->setStatus(store::ServerStatusState::isFalse);
    users_.loginUser(*userID, [](const std::exception_ptr&) {});
  }
}

}  // namespace sorn::users
