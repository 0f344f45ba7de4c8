#include "push/TokenReport.h"

#include <string>

namespace sorn::push {

void TokenReport::sendUnsent() {
  const auto gateway = records_.pushGateway();
  auto status = sync::unsentStatus(gateway);
  const auto token = status ? gateway->get(store::SNPushGateway::token) : std::nullopt;
  if (!token) return;
  logger_.log(support::LogLevel::warning, "Device token needs to be sent...");
  status->setStatus(store::ServerStatusState::pending);
  client_.request(server::PushTokenUpdate{*token}, [this, gateway](const server::CallResult& result) {
    sync::applyResult(context_, gateway, result);
  });
}

}  // namespace sorn::push
