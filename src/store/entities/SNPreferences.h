#pragma once

#include "store/ManagedObject.h"

namespace sorn::store {

class SNApplication;

// The tags of an application.
class SNPreferences final : public ManagedObject {
 public:
  static const EntityDescription& entity();
  SNPreferences() : ManagedObject(entity()) {}

  // JSON text of a list of strings.
  static constexpr Attribute<std::string> tags{0, "tags"};

  static constexpr ToOne<SNApplication> application{1, "application", "preferences"};

  static constexpr Attribute<bool> hasServerStatus{2, "hasServerStatus"};
  static constexpr Attribute<std::int64_t> status{3, "status"};
  static constexpr Attribute<Date> statusUpdated{4, "statusUpdated"};

  static constexpr auto columns = columnsOf(tags, application, hasServerStatus, status, statusUpdated);
};

}  // namespace sorn::store
