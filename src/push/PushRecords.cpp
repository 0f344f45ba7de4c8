#include "push/PushRecords.h"

namespace sorn::push {

using store::ServerStatusState;
using store::SNApplication;
using store::SNPushGateway;
using store::SNServerStatus;

store::Ref<SNPushGateway> PushRecords::pushGateway() {
  return database_.currentApplication()->get(SNApplication::pushGateway);
}

store::Ref<SNPushGateway> PushRecords::findOrCreateGateway() {
  const store::Ref<SNApplication> application = database_.currentApplication();
  auto gateway =
      database_.context().findOrCreate<SNPushGateway>(store::assign(SNPushGateway::application, application));
  application->set(SNApplication::pushGateway, gateway);
  return gateway;
}

void PushRecords::pushTokenStore(std::string_view token, ServerStatusState state) {
  database_.context().performBlockAndWait([&] {
    const auto gateway = findOrCreateGateway();
    gateway->set(SNPushGateway::token, token);
    SNServerStatus::findOrCreate(gateway).setStatus(state);
    database_.context().saveNowOrLater();
  });
}

void PushRecords::pushGatewayUpdate(std::int64_t notificationTypes, std::int64_t authorizationStatus,
                                    ServerStatusState state) {
  database_.context().performBlockAndWait([&] {
    const auto gateway = findOrCreateGateway();
    gateway->set(SNPushGateway::notificationTypes, notificationTypes);
    gateway->set(SNPushGateway::authorizationStatus, authorizationStatus);
    SNServerStatus::findOrCreate(gateway).setStatus(state);
    database_.context().saveNowOrLater();
  });
}

}  // namespace sorn::push
