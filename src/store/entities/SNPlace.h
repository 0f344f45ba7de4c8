#pragma once

#include "store/ManagedObject.h"

namespace sorn::store {

class SNApplication;

// A place to watch.
class SNPlace final : public ManagedObject {
 public:
  static const EntityDescription& entity();
  SNPlace() : ManagedObject(entity()) {}

  static constexpr Scalar<std::int64_t> placeID{0, "placeID"};
  // Millionths of a degree.
  static constexpr Scalar<std::int64_t> latitude{1, "latitude"};
  static constexpr Scalar<std::int64_t> longitude{2, "longitude"};
  // Metres.
  static constexpr Scalar<std::int16_t> radius{3, "radius"};
  static constexpr Scalar<std::int16_t> direction{4, "direction"};

  static constexpr ToOne<SNApplication> application{5, "application"};

  static constexpr auto columns = columnsOf(placeID, latitude, longitude, radius, direction, application);
};

}  // namespace sorn::store
