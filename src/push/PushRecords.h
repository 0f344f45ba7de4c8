#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "store/DBManager.h"
#include "store/entities/SNPushGateway.h"
#include "store/entities/SNServerStatus.h"

namespace sorn::push {

// The push state of the application: its token, and what the user allows. Any thread.
class PushRecords {
 public:
  explicit PushRecords(store::DBManager& database) : database_(database) {}

  void pushTokenStore(std::string_view token, store::ServerStatusState state);
  void pushGatewayUpdate(std::int64_t notificationTypes, std::int64_t authorizationStatus,
                         store::ServerStatusState state);
  // Null without one. On the store's queue.
  store::Ref<store::SNPushGateway> pushGateway();

 private:
  store::Ref<store::SNPushGateway> findOrCreateGateway();

  store::DBManager& database_;
};

}  // namespace sorn::push
