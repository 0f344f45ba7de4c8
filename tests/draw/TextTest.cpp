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
  EXPECT_THAT(sizeOf("HHHH", {}), IsAbout(83.36, 34.08));
  EXPECT_THAT(sizeOf("HH\nHHH", {}), IsAbout(62.52, 68.16));
  EXPECT_THAT(sizeOf("HH nn", {70, {}}), IsAbout(41.68, 68.16));     // 41.68 + 7.92 + 32.96 do not fit
  EXPECT_THAT(sizeOf("HH nn", {82.56, {}}), IsAbout(82.56, 34.08));  // they just do
  EXPECT_THAT(sizeOf("HHHH", {50, {}}), IsAbout(41.68, 68.16));
  EXPECT_THAT(sizeOf("HHHH", {infinity, infinity}), IsAbout(83.36, 34.08));
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
}

TEST(Text, OfNothingOrWithoutRoomHasNoSize) {
  EXPECT_EQ(sizeOf("", {}), (Size{0, 0}));
  EXPECT_EQ(sizeOf("", {100, 100}), (Size{0, 0}));
  EXPECT_EQ(sizeOf("HH", {0, 0}), (Size{0, 0}));
  EXPECT_THAT(sizeOf("HHnn", {0, {}}), IsAbout(0.0, 4 * 34.08));
  EXPECT_THAT(sizeOf("HHnn", {0, 70}), IsAbout(0.0, 2 * 34.08));
}

TEST(Text, BoundsHoldAcrossExplicitLineEnds) {
  EXPECT_THAT(sizeOf("H\nH\nH", {}, limited(2)), IsAbout(20.84 + 23.12, 68.16));  // "H", "H…"
  EXPECT_THAT(sizeOf("H\nH", {}, limited(2)), IsAbout(20.84, 68.16));
  EXPECT_THAT(sizeOf("H\n\n\n", {{}, 70}), IsAbout(23.12, 68.16));  // "H", "…"
  EXPECT_THAT(sizeOf("HH\nHH", {{}, 10}), IsAbout(41.68 + 23.12, 34.08));
  // "HH", "HHH…" of eight in three lines: the last is 62.52 + 23.12 wide
  EXPECT_THAT(sizeOf("HH\nHHHHHHHH", {86, {}}, limited(2)), IsAbout(85.64, 68.16));
}

// Which of two texts is drawn, told by their pixels.
Pixels drawn(const std::string& text, const layout::TextStyle& style, const Proposal& offered,
             Size size = {200, 90}) {
  const std::shared_ptr<layout::PreparedText> prepared = PangoTextMeasure(1).prepare({text, style});
  return renderToPixels(listOf(size, {layout::DrawText{prepared, {0, 0, size.width, size.height}, offered}}),
                        1, {});
}

TEST(Text, IsCutAtItsTailOrInTheMiddleOfItsLastLine) {
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
      {"HHHHHHnnnnn", 110, 1, tail, "HHHH…"},    // 83.36 + 23.12
      {"HHHHHHnnnnn", 110, 1, middle, "HH…nn"},  // 41.68 + 23.12 + 32.96; one more of either is too much
      {"HHHH nnn xx HHHH", 110, 2, tail, "HHHH\nnnn x…"},
      {"HH\nnnnnnnnnnHHHHHHHH", 110, 2, middle, "HH\nnn…HH"},
      {"HH\nnn", 110, 1, tail, "HH…"},
      {"HH\nnn", 110, 1, middle, "HH…nn"},
  };
  for (const auto& [text, width, lines, truncation, shown] : cases) {
    EXPECT_EQ(drawn(text, limited(lines, truncation), {width, {}}), drawn(shown, whole, {})) << text;
  }
  EXPECT_NE(drawn("HH…nn", whole, {}), drawn("HHHH…", whole, {}));
}

TEST(Text, DrawsWhatItMeasuredInWhicheverOrder) {
  const layout::TextStyle style = inter(12);
  const std::string text = "Ten green bottles, hanging on the wall, and if one should fall";
  const auto prepared = PangoTextMeasure(1).prepare({text, style});
  for (double width = 200; width > 0; width -= 7) prepared->sizeFor({width, 30});
  const layout::DisplayList list = listOf({200, 90}, {layout::DrawText{prepared, {0, 0, 200, 90}, {90, {}}}});
  EXPECT_EQ(renderToPixels(list, 1, {}), drawn(text, style, {90, {}}));
}

TEST(Text, LinesAreAlignedWithinTheirRectangle) {
  using enum layout::LineAlignment;
  for (const auto& [alignment, x] : {std::pair{leading, 0}, {center, 90}, {trailing, 180}}) {
    layout::TextStyle style = inter(emOfHundreds);
    style.alignment = alignment;
    style.color = red;
    const Pixels pixels = drawn("H", style, {});
    const auto inkWithin = [&](int from, int to) {
      for (int i = from; i < to; ++i) {
        if (pixels.at(i, 17) >> 24 > 200) return true;
      }
      return false;
    };
    EXPECT_TRUE(inkWithin(x, x + 21)) << x;
    EXPECT_FALSE(inkWithin(0, x) || inkWithin(x + 21, 200)) << x;
  }
}

TEST(Text, RightToLeftKeepsItsPlaceAndTurnsWithinTheLine) {
  // The full stop of a right-to-left line stands at its left.
  layout::TextStyle style = inter(40);
  style.family = "DejaVu Sans";
  const Pixels pixels = drawn("שלום.", style, {});
  const auto heightOfInk = [&](int fromX, int toX) {
    int rows = 0;
    for (int y = 0; y < pixels.height; ++y) {
      bool hasInk = false;
      for (int x = fromX; x < toX; ++x) hasInk = hasInk || pixels.at(x, y) >> 24 > 100;
      rows += hasInk ? 1 : 0;
    }
    return rows;
  };
  EXPECT_GT(heightOfInk(0, 12), 0);
  EXPECT_LT(heightOfInk(0, 12), 9);
  EXPECT_GT(heightOfInk(14, 60), 20);
}

TEST(Text, EmojiAreInColour) {
  const Pixels pixels = drawn("😀", inter(40), {});
  EXPECT_TRUE(std::any_of(pixels.argb.begin(), pixels.argb.end(), [](std::uint32_t pixel) {
    return (pixel >> 16 & 0xFF) > 200 && (pixel & 0xFF) < 120;  // its yellow; the text's colour is black
  }));
}

TEST(Text, WeightsAndSlantDiffer) {
  using enum documents::FontWeight;
  Pixels before;
  double ink = 0;
  for (const auto weight : {thin, extraLight, light, normal, medium, semiBold, bold, extraBold, black}) {
    layout::TextStyle style = inter(40);
    style.weight = weight;
    const Pixels pixels = drawn("HOE", style, {});
    double here = 0;
    for (const std::uint32_t pixel : pixels.argb) here += pixel >> 24;
    EXPECT_GT(here, ink * 1.03) << static_cast<int>(weight);
    ink = here;
  }
  layout::TextStyle italic = inter(40);
  italic.isItalic = true;
  EXPECT_NE(drawn("HOE", italic, {}), drawn("HOE", inter(40), {}));
}

TEST(Text, BytesThatAreNoTextAreReplaced) {
  using namespace std::string_literals;
  for (const std::string& text : {"\xFF\xFE"s, "a\0b"s, "\xC3"s, "\xED\xA0\x80"s, "ok\xE2\x80"s}) {
    const Size size = sizeOf(text, {100, 100});
    EXPECT_GT(size.width, 0);
    EXPECT_GT(size.height, 0);
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
  struct Case {
    const char* name;
    std::string piece;
  };
  for (const auto& [name, piece] : {Case{"words", "many words "},
                                    {"one word", "a"},
                                    {"line ends", "\n"},
                                    {"directions", "aא"},
                                    {"fonts", "a漢😀"},
                                    {"marks", "e\u0301"},
                                    {"blanks", " "}}) {
    std::string text;
    while (text.size() < 1'000'000) text += piece;
    const auto begin = std::chrono::steady_clock::now();
    const auto prepared = PangoTextMeasure(1).prepare({text, limited(3)});
    for (const double width : {0.0, 1.0, 300.0, infinity}) {
      const Size size = prepared->sizeFor({width, 100});
      EXPECT_LE(size.height, 105) << name;
      EXPECT_LE(size.width, std::max(width, 25.0)) << name;
      renderToPixels(listOf({300, 100}, {layout::DrawText{prepared, {0, 0, 300, 100}, {width, 100}}}), 1, {});
    }
    // A hang takes minutes; how long it should take is a matter of the benchmarks.
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(10)) << name;
  }
}

TEST(Text, EachThreadHasFontsOfItsOwn) {
  std::vector<std::jthread> threads;
  threads.reserve(3);
  for (int i = 0; i < 3; ++i) {
    threads.emplace_back([] {
      for (int round = 0; round < 10; ++round) {
        ASSERT_THAT(sizeOf("HH nn", {70, {}}), IsAbout(41.68, 68.16));
        drawn("HH nn", inter(20), {});
      }
    });
  }
}

}  // namespace
}  // namespace sorn::draw
