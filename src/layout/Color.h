#pragma once

#include <string_view>

namespace sorn::layout {

// A device colour; each channel from 0 to 1, not premultiplied.
struct Color {
  double red = 0;
  double green = 0;
  double blue = 0;
  double alpha = 1;

  bool operator==(const Color&) const = default;
};

inline constexpr Color black{0, 0, 0, 1};
inline constexpr Color white{1, 1, 1, 1};
inline constexpr Color clear{0, 0, 0, 0};

// Reads "#RRGGBBAA", "RRGGBB" or "RGB". Everything that is no letter or number is trimmed from both ends;
// what remains is read as a hexadecimal number as far as it goes, and its count of characters alone decides
// the form. Any other count is opaque black.
Color colorFromHex(std::string_view text);

}  // namespace sorn::layout
