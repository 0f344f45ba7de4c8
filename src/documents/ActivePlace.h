#pragma once

#include <cstdint>
#include <string_view>
#include <tuple>
#include <vector>

#include "documents/DecodingFailure.h"
#include "documents/Description.h"

namespace sorn::documents {

// A place that the account has published. Coordinates are in millionths of a degree.
struct ActivePlace {
  std::int64_t placeID = 0;
  std::int64_t lat = 0;
  std::int64_t long_ = 0;      // `long`, which C++ reserves
  std::int16_t radius = 0;     // metres
  std::int16_t direction = 0;  // code of a `PlaceDirection`; any other notifies on entry only

  bool operator==(const ActivePlace&) const = default;
};

// What a place notifies of, with its code in the file and in the store.
enum class PlaceDirection : std::int16_t { enter = 1, exit = 2, both = 3 };

// On the wire a place is a list of five integers, the longitude before the latitude.
template <>
struct Description<ActivePlace> {
  static constexpr auto elements = std::tuple{&ActivePlace::placeID, &ActivePlace::long_, &ActivePlace::lat,
                                              &ActivePlace::radius, &ActivePlace::direction};
};

// The places of a JSON array, all or none.
Decoded<std::vector<ActivePlace>> decodePlaces(std::string_view json);

}  // namespace sorn::documents
