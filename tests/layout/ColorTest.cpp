#include <gtest/gtest.h>

#include "layout/Color.h"

namespace sorn::layout {
namespace {

TEST(Color, IsReadByTheCountOfCharacters) {
  const std::pair<const char*, Color> cases[] = {
      {"#F00", {1, 0, 0, 1}},
      {"F00", {1, 0, 0, 1}},
      {"ff0000ff", {1, 0, 0, 1}},
      {"#00FF0080", {0, 1, 0, 128 / 255.0}},
      {"  (336699) ", {0x33 / 255.0, 0x66 / 255.0, 0x99 / 255.0, 1}},
      {"#12345", black},
      {"", black},
      {"FFG", {0, 1, 1, 1}},     // reads as FF
      {"0xFF00", {0, 1, 0, 1}},  // six characters
      {"zzzzzz", black},         // no digit
      {"\xC3\xA9"
       "00",
       {0, 0, 0, 1}},  // three characters, none of them a digit at the start
  };
  for (const auto& [text, color] : cases) EXPECT_EQ(colorFromHex(text), color) << text;
}

}  // namespace
}  // namespace sorn::layout
