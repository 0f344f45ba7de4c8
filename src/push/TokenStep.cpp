#include "push/TokenStep.h"

namespace sorn::push {

using support::LogLevel;

void TokenStep::run(sync::StartFindings& findings) {
  if (findings.isSameVersion) return;
  const auto gateway = records_.pushGateway();
  if (!gateway || !gateway->get(store::SNPushGateway::token)) {
    logger_.log(LogLevel::error, "Could not get device token data...");
    return;
  }
  logger_.log(LogLevel::info,
              "SDK Version changed... Updating device token & Re-registering for push notifications...");
  if (auto status = store::SNServerStatus::of(gateway)) status->setStatus(store::ServerStatusState::isFalse);
}

}  // namespace sorn::push
