#pragma once

#include <optional>
#include <string_view>

namespace sorn::device {

// The first version in a text such as "1.2.3", "1.2.3-beta4" or "1.2.3-rc5". The parts are stretches of the
// text: digits of any script, absent where the text has none. The numbers may be followed directly by "-" and
// a tail on the same line: "beta" and its number as words of their own, the last such, else the last number
// of the whole text.
struct VersionNumber {
  std::string_view major;
  std::optional<std::string_view> minor;
  std::optional<std::string_view> patch;
  std::optional<std::string_view> beta;
  std::optional<std::string_view> other;  // never along with `beta`

  // Absent when the text holds no digit.
  static std::optional<VersionNumber> find(std::string_view text);
};

}  // namespace sorn::device
