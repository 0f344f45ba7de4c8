#pragma once

#include "store/ManagedObject.h"

namespace sorn::store {

class SNApplication;

// The push state of an application.
class SNPushGateway final : public ManagedObject {
 public:
  static const EntityDescription& entity();
  SNPushGateway() : ManagedObject(entity()) {}

  static constexpr Attribute<std::string> token{0, "token"};
  static constexpr Attribute<std::int64_t> notificationTypes{1, "notificationTypes"};
  static constexpr Attribute<std::int64_t> authorizationStatus{2, "authorizationStatus"};

  static constexpr ToOne<SNApplication> application{3, "application", "pushGateway"};

  static constexpr Attribute<bool> hasServerStatus{4, "hasServerStatus"};
  static constexpr Attribute<std::int64_t> status{5, "status"};
  static constexpr Attribute<Date> statusUpdated{6, "statusUpdated"};

  static constexpr auto columns = columnsOf(token, notificationTypes, authorizationStatus, application,
                                            hasServerStatus, status, statusUpdated);
};

}  // namespace sorn::store
