#include "layout/Color.h"

#include <cstdint>

#include "support/TextTrim.h"

namespace sorn::layout {

namespace {

double channel(std::uint64_t number, int shift) {
  return static_cast<double>((number >> shift) & 0xFF) / 255.0;
}

double digit(std::uint64_t number, int shift) {
  return static_cast<double>(((number >> shift) & 0xF) * 17) / 255.0;
}

}  // namespace

Color colorFromHex(std::string_view text) {
  const std::string_view trimmed = support::trimNotAlphanumeric(text);
  const std::uint64_t number = support::scanHex(trimmed).value_or(0);
  switch (support::graphemeCount(trimmed)) {
    case 8:
      return {channel(number, 24), channel(number, 16), channel(number, 8), channel(number, 0)};
    case 6:
      return {channel(number, 16), channel(number, 8), channel(number, 0), 1};
    case 3:
      return {digit(number, 8), digit(number, 4), digit(number, 0), 1};
    default:
      return black;
  }
}

}  // namespace sorn::layout
