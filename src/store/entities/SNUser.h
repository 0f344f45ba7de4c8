#pragma once

#include "store/ManagedObject.h"

namespace sorn::store {

class SNApplication;
class SNEvent;
class SNInboxItem;

// An identified or a default (anonymous) user.
class SNUser final : public ManagedObject {
 public:
  static const EntityDescription& entity();
  SNUser() : ManagedObject(entity()) {}

  static constexpr Attribute<std::string> userID{0, "userID"};
  // Service time of the last inbox fetch; 1970 for a new record.
  static constexpr Attribute<Date> lastInboxAccess{1, "lastInboxAccess"};

  // Set while this user is the active one.
  static constexpr ToOne<SNApplication> activeInApplication{2, "activeInApplication", "activeUser"};
  static constexpr ToOne<SNApplication> application{3, "application"};

  static constexpr Attribute<bool> hasServerStatus{4, "hasServerStatus"};
  static constexpr Attribute<std::int64_t> status{5, "status"};
  static constexpr Attribute<Date> statusUpdated{6, "statusUpdated"};

  static constexpr ToMany<SNEvent> events{12};
  static constexpr ToMany<SNInboxItem> inboxItems{16};

  static constexpr auto columns = columnsOf(userID, lastInboxAccess, activeInApplication, application,
                                            hasServerStatus, status, statusUpdated);
};

}  // namespace sorn::store
