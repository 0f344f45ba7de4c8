#include "sorn-campaign/Lengths.h"

#include <charconv>
#include <system_error>

namespace sorn::tool {

std::optional<double> readLength(std::string_view text) {
  constexpr double longest = 1e6;
  double length = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), length);
  const bool isWhole = error == std::errc() && end == text.data() + text.size();
  return isWhole && length >= 0 && length < longest ? std::optional(length) : std::nullopt;
}

std::optional<layout::Size> readSize(std::string_view text) {
  const std::size_t cross = text.find('x');
  if (cross == std::string_view::npos) return std::nullopt;
  const auto width = readLength(text.substr(0, cross));
  const auto height = readLength(text.substr(cross + 1));
  return width && height ? std::optional(layout::Size{*width, *height}) : std::nullopt;
}

}  // namespace sorn::tool
