#include <algorithm>
#include <chrono>
#include <limits>
#include <thread>

#include <gmock/gmock.h>

#include "draw/TestPictures.h"

namespace sorn::draw {
namespace {

using layout::Proposal;
using layout::Size;

constexpr double infinity = std::numeric_limits<double>::infinity();

// Inter counts 2816 units an em, so at this size a point is 100 of them: "H" is 20.84 points wide, "n" 16.48,
// a blank 7.92, "…" 23.12, and a line is 34.08 high (tables hmtx and hhea of the font).
constexpr double emOfHundreds = 28.16;

Size sizeOf(const std::string& text, const Proposal& proposal, layout::TextStyle style = inter(emOfHundreds),
            double scale = 100) {
  return PangoTextMeasure(scale).prepare({text, std::move(style)})->sizeFor(proposal);
}

MATCHER_P2(IsAbout, width, height, "") {
  return std::abs(arg.width - width) < 0.02 && std::abs(arg.height - height) < 0.02;
}

layout::TextStyle limited(std::int64_t lines, layout::Truncation truncation = layout::Truncation::tail) {
  layout::TextStyle style = inter(emOfHundreds);
  style.lineLimit = lines;
  style.truncation = truncation;
  return style;
}

TEST(Text, IsAsLargeAsItsFontSays) {
  EXPECT_THAT(sizeOf("HHHH", {infinity, infinity}), IsAbout(83.36, 34.08));
  EXPECT_THAT(sizeOf("HH\nHHH", {}), IsAbout(62.52, 68.16));
  EXPECT_THAT(sizeOf("HH nn", {70, {}}), IsAbout(41.68, 68.16));
  EXPECT_THAT(sizeOf("HH   ", {42, {}}), IsAbout(41.68, 34.08));  // blanks at a wrap count for nothing
  EXPECT_THAT(sizeOf("H ", {}), IsAbout(28.76, 34.08));
  EXPECT_THAT(sizeOf("H\n\nn\n", {}), IsAbout(20.84, 4 * 34.08));
}

TEST(Text, AnswersAreRoundedUpToPixelsAndStayTheSameWhenOfferedBack) {
  for (const auto& [scale, width, height] : {std::tuple{1.0, 84.0, 35.0},
                                             {1.5, 84.0, 104.0 / 3},
                                             {2.0, 83.5, 34.5},
                                             {3.0, 251.0 / 3, 103.0 / 3}}) {
    const Size size = sizeOf("HHHH", {}, inter(emOfHundreds), scale);
    EXPECT_NEAR(size.width, width, 1e-6);
    EXPECT_NEAR(size.height, height, 1e-6);
    EXPECT_EQ(sizeOf("HHHH", {size.width, size.height}, inter(emOfHundreds), scale), size);
  }
  // At this scale nothing is rounded: Pango counts in such parts of a point.
  const Size exact = sizeOf("HH nn\nH", {}, inter(emOfHundreds), 1024);
  EXPECT_EQ(sizeOf("HH nn\nH", {exact.width, exact.height}, inter(emOfHundreds), 1024), exact);
}

TEST(Text, OfNothingOrWithoutRoomHasNoSize) {
  EXPECT_EQ(sizeOf("", {100, 100}), (Size{0, 0}));
  EXPECT_EQ(sizeOf("HH", {0, 0}), (Size{0, 0}));
  EXPECT_THAT(sizeOf("HH n", {0, {}}), IsAbout(0.0, 3 * 34.08));
  EXPECT_THAT(sizeOf("HHnn", {0, 70}), IsAbout(0.0, 2 * 34.08));
  // What a reader takes for one letter stays on its line: two pictures that are joined, though not to one.
  EXPECT_EQ(sizeOf("😀\u200D😀", {0, {}}).height, sizeOf("😀", {}).height);
}

TEST(Text, BoundsHoldAcrossExplicitLineEnds) {
  EXPECT_THAT(sizeOf("H\nH\nH", {}, limited(2)), IsAbout(20.84 + 23.12, 68.16));  // "H", "H…"
  EXPECT_THAT(sizeOf("H\nH", {}, limited(2)), IsAbout(20.84, 68.16));
  EXPECT_THAT(sizeOf("H\n\n\n", {{}, 70}), IsAbout(23.12, 68.16));  // "H", "…"
  EXPECT_THAT(sizeOf("H\nH\nH", {{}, 102.24}), IsAbout(20.84, 102.24));
  EXPECT_THAT(sizeOf("H\nH\nH", {{}, 102.2}), IsAbout(20.84 + 23.12, 68.16));
  EXPECT_THAT(sizeOf("H\nH\nH", {{}, 0}), IsAbout(20.84 + 23.12, 34.08));  // one line is always shown
  // "HH", "HHH…" of eight in three lines: the last is 62.52 + 23.12 wide
  EXPECT_THAT(sizeOf("HH\nHHHHHHHH", {86, {}}, limited(2)), IsAbout(85.64, 68.16));
}

Pixels drawn(const std::shared_ptr<layout::PreparedText>& text, const Proposal& offered) {
  return draw::drawn(listOf({200, 200}, {layout::DrawText{text, {0, 0, 200, 200}, offered}}));
}

// Which of two texts is drawn, told by their pixels.
Pixels drawn(const std::string& text, const layout::TextStyle& style, const Proposal& offered = {}) {
  return drawn(PangoTextMeasure(1).prepare({text, style}), offered);
}

TEST(Text, IsWrappedAndIsCutAtItsTailOrInTheMiddleOfItsLastLine) {
  using enum layout::Truncation;
  const layout::TextStyle whole = inter(emOfHundreds);
  struct Case {
    const char* text;
    double width;
    int lines;
    layout::Truncation truncation;
    const char* shown;
  };
  const Case cases[] = {
      {"HHHH nnn", 140.72, 9, tail, "HHHH nnn"},  // 83.36 + 7.92 + 49.44
      {"HHHH nnn", 140.7, 9, tail, "HHHH\nnnn"},
      {"H nnnnnnnn H", 50, 9, tail, "H\nnnn\nnnn\nnn\nH"},
      {"HH    nnn", 50, 9, tail, "HH\nnnn"},
      {"HHHHHHnnnnn", 106.48, 1, tail, "HHHH…"},  // 83.36 + 23.12
      {"HHHHHHnnnnn", 106.4, 1, tail, "HHH…"},
      {"HHHHHHnnnnn", 110, 1, middle, "HH…nn"},  // 41.68 + 23.12 + 32.96; one more of either is too much
      {"HHHHHHnnnnn", 20, 1, tail, "…"},
      {"HHHHHHnnnnn", 20, 1, middle, "…"},
      {"HHHH nnn xx HHHH", 110, 2, tail, "HHHH\nnnn x…"},
      {"HH\nnnnnnnnnnHHHHHHHH", 110, 2, middle, "HH\nnn…HH"},
      // Line ends alone stand in the way.
      {"HH\nnn\nHH", infinity, 1, tail, "HH…"},
      {"HH\nnn\nHH", infinity, 1, middle, "HH…nn HH"},
      {"\nHH", infinity, 1, tail, "…"},
      // Line ends are blanks: 41.68 + 15.84 + 16.48 + 23.12.
      {"HH\n\nnn\nHH", 97.5, 1, tail, "HH  n…"},
      {"HH\n\nnn\nHH", 97, 1, tail, "HH…"},
  };
  for (const auto& [text, width, lines, truncation, shown] : cases) {
    EXPECT_EQ(drawn(text, limited(lines, truncation), {width, {}}), drawn(shown, whole)) << text << width;
  }
  EXPECT_NE(drawn("HH…nn", whole), drawn("HHHH…", whole));
}

TEST(Text, DrawsWhatItMeasuredInWhicheverOrder) {
  const layout::TextStyle style = inter(12);
  const std::string text = "Ten green bottles, hanging on the wall, and if one should fall";
  const auto prepared = PangoTextMeasure(1).prepare({text, style});
  for (double width = 200; width > 0; width -= 7) prepared->sizeFor({width, 30});
  EXPECT_EQ(drawn(prepared, {90, {}}), drawn(text, style, {90, {}}));
}

bool hasInk(const Pixels& pixels, int fromX, int toX, int fromY, int toY) {
  for (int y = fromY; y < toY; ++y) {
    for (int x = fromX; x < toX; ++x) {
      if (pixels.at(x, y) >> 24 > 100) return true;
    }
  }
  return false;
}

TEST(Text, RightToLeftKeepsItsPlaceAndTurnsWithinTheLine) {
  layout::TextStyle style = inter(40);
  style.family = "DejaVu Sans";
  const Pixels pixels = drawn("שלום.", style);
  // The full stop of a right-to-left line stands at its left, and is low.
  EXPECT_TRUE(hasInk(pixels, 0, 12, 25, 90));
  EXPECT_FALSE(hasInk(pixels, 0, 12, 0, 25));
  EXPECT_TRUE(hasInk(pixels, 14, 60, 0, 25));
}

TEST(Text, EmojiAreInColour) {
  const Pixels pixels = drawn("😀", inter(40));
  EXPECT_TRUE(std::any_of(pixels.argb.begin(), pixels.argb.end(), [](std::uint32_t pixel) {
    return (pixel >> 16 & 0xFF) > 200 && (pixel & 0xFF) < 120;  // its yellow; the text's colour is black
  }));
}

TEST(Text, BytesThatAreNoTextAreReplaced) {
  using namespace std::string_literals;
  for (const std::string& text : {"\xFF\xFE"s, "a\0b"s, "\xC3"s, "\xED\xA0\x80"s, "ok\xE2\x80"s}) {
    EXPECT_GT(sizeOf(text, {100, 100}).width, 0);
    layout::TextStyle style = inter(12);
    style.family = text;
    EXPECT_GT(sizeOf("a", {}, style).width, 0);
  }
  EXPECT_GT(sizeOf("a\0bbbb"s, {}).width, sizeOf("a", {}).width);
}

TEST(Text, AbsurdFontSizesAreBroughtIntoBounds) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  for (const double size : {0.0, -5.0, nan, -infinity}) EXPECT_LT(sizeOf("H", {}, inter(size)).height, 0.2);
  for (const double size : {1e300, infinity, 5e6})
    EXPECT_NEAR(sizeOf("H", {}, inter(size)).height, 2000 * 1.2102, 1);
}

TEST(Text, OfAMegabyteIsBoundedWhateverItIsMadeOf) {
  for (const std::string piece : {"many words ", "a", "\n", "aא", "a漢😀", "e\u0301", " "}) {
    std::string text;
    while (text.size() < 1'000'000) text += piece;
    const auto begin = std::chrono::steady_clock::now();
    const auto prepared = PangoTextMeasure(1).prepare({text, limited(3)});
    for (const double width : {0.0, 1.0, 300.0, infinity}) {
      const Size size = prepared->sizeFor({width, 100});
      EXPECT_LE(size.height, 105) << piece;
      EXPECT_LE(size.width, std::max(width, 25.0)) << piece;
      drawn(prepared, {width, 100});
    }
    // A hang takes minutes; how long it should take is a matter of the benchmarks.
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(10)) << piece;
  }
}

TEST(Text, EachThreadHasFontsOfItsOwn) {
  std::vector<std::jthread> threads;
  threads.reserve(3);
  for (int i = 0; i < 3; ++i) {
    threads.emplace_back([] {
      for (int round = 0; round < 10; ++round) {
        ASSERT_THAT(sizeOf("HH nn", {70, {}}), IsAbout(41.68, 68.16));
        drawn("HH nn", inter(20));
      }
    });
  }
}

}  // namespace
}  // namespace sorn::draw
