#pragma once

#include "store/ManagedObject.h"

namespace sorn::store {

// A crossing of a place's border.
class SNPlaceTrigger final : public ManagedObject {
 public:
  static const EntityDescription& entity();
  SNPlaceTrigger() : ManagedObject(entity()) {}

  static constexpr Scalar<std::int64_t> placeID{0, "placeID"};
  static constexpr Scalar<std::int16_t> direction{1, "direction"};
  static constexpr Attribute<Date> date{2, "date"};

  static constexpr auto columns = columnsOf(placeID, direction, date);
};

}  // namespace sorn::store
