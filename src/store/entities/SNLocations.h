#pragma once

#include "store/ManagedObject.h"

namespace sorn::store {

class SNApplication;

// The place state of an application.
class SNLocations final : public ManagedObject {
 public:
  static const EntityDescription& entity();
  SNLocations() : ManagedObject(entity()) {}

  // Whether the application wants places.
  static constexpr Scalar<bool> enabled{0, "enabled"};
  // Of the published file applied last.
  static constexpr Attribute<std::string> placesEtag{1, "placesEtag"};
  // Of the same file.
  static constexpr Scalar<std::int64_t> timestamp{2, "timestamp"};

  static constexpr ToOne<SNApplication> application{3, "application", "locations"};

  static constexpr Attribute<bool> hasServerStatus{4, "hasServerStatus"};
  static constexpr Attribute<std::int64_t> status{5, "status"};
  static constexpr Attribute<Date> statusUpdated{6, "statusUpdated"};

  static constexpr auto columns =
      columnsOf(enabled, placesEtag, timestamp, application, hasServerStatus, status, statusUpdated);
};

}  // namespace sorn::store
