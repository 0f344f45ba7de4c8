#include <chrono>
#include <limits>
#include <map>

#include <gtest/gtest.h>

#include "draw/Canvas.h"
#include "draw/Handles.h"
#include "draw/TestPictures.h"

namespace sorn::draw {
namespace {

using namespace layout;

struct Probe {
  int x;
  int y;
  std::uint32_t pixel;
};

void expectPixels(const Pixels& pixels, const std::vector<Probe>& probes) {
  for (const auto& [x, y, pixel] : probes) EXPECT_EQ(pixels.at(x, y), pixel) << x << ", " << y;
}

// Each channel as near as that.
void expectNear(std::uint32_t pixel, std::uint32_t expected, int tolerance, const std::string& where) {
  for (int shift = 0; shift < 32; shift += 8) {
    const int difference =
        static_cast<int>(pixel >> shift & 0xFF) - static_cast<int>(expected >> shift & 0xFF);
    EXPECT_LE(std::abs(difference), tolerance) << where << std::hex << " " << pixel << " for " << expected;
  }
}

// A row's pixels as letters: r, g and b for the pure colours, a point for none, ? for any other.
std::string row(const Pixels& pixels, int y) {
  const std::map<std::uint32_t, char> names{{redPixel, 'r'}, {greenPixel, 'g'}, {bluePixel, 'b'}, {0, '.'}};
  std::string text;
  for (int x = 0; x < pixels.width; ++x) {
    const auto name = names.find(pixels.at(x, y));
    text += name == names.end() ? '?' : name->second;
  }
  return text;
}

std::string column(const Pixels& pixels, int x) {
  Pixels turned{pixels.height, 1, {}};
  for (int y = 0; y < pixels.height; ++y) turned.argb.push_back(pixels.at(x, y));
  return row(turned, 0);
}

TEST(Canvas, EdgesGoToTheNearestPixel) {
  const DisplayList list = listOf({16, 8}, {fill({2.4, 2.6, 5.2, 3}, red), fill({7.6, 2.6, 5, 3}, green)});
  EXPECT_EQ(row(drawn(list), 4), "..rrrrrrggggg...");
  EXPECT_EQ(column(drawn(list), 4), "...rrr..");
  EXPECT_EQ(row(drawn(list, 2), 8), ".....rrrrrrrrrrgggggggggg.......");
  EXPECT_EQ(column(drawn(list, 2), 6), ".....rrrrrr.....");
}

TEST(Canvas, ACornersRadiusIsAtMostHalfOfTheSmallerSide) {
  const Pixels pixels = drawn(listOf({60, 40}, {fill({0, 0, 60, 40}, red, {.bl = 100})}));
  expectPixels(pixels, {{0, 18, redPixel}, {4, 35, 0}, {8, 32, redPixel}, {22, 39, redPixel}});
}

TEST(Canvas, StrokeStraddlesThePathWithMitredCorners) {
  const auto stroked = [](double width) {
    return drawn(listOf({16, 16}, {StrokeShape{{{4, 4, 8, 8}, {}}, width, blue}}));
  };
  EXPECT_EQ(row(stroked(4), 2), "..bbbbbbbbbbbb..");
  EXPECT_EQ(row(stroked(4), 8), "..bbbb....bbbb..");
  EXPECT_EQ(row(stroked(0), 8), "................");
}

TEST(Canvas, ClipsNestAndEnd) {
  const Pixels pixels = drawn(listOf(
      {40, 40}, {BeginClip{{{0, 0, 20, 20}, RoundedCorners::all(10)}}, BeginClip{{{10, 0, 30, 40}, {}}},
                 fill({0, 0, 40, 40}, red), EndClip{}, fill({0, 9, 4, 2}, green), EndClip{},
                 fill({30, 10, 5, 5}, blue), EndClip{}, fill({36, 10, 4, 4}, green)}));
  EXPECT_EQ(row(pixels, 10), "?ggg......rrrrrrrrr?..........bbbbb.gggg");
  EXPECT_EQ(pixels.at(18, 1), 0U);
}

TEST(Canvas, ScrolledContentMovesWithinItsViewport) {
  DisplayList list =
      listOf({5, 40}, {BeginScroll{0}, fill({0, 10, 20, 10}, red), fill({0, 60, 20, 10}, green), EndScroll{},
                       fill({0, 35, 5, 5}, blue), BeginScroll{7}, fill({0, 0, 5, 5}, blue), EndScroll{}});
  list.scrollAreas = {{{0, 10, 20, 20}, 80}};
  const double offsets[] = {45.3};  // 45 pixels
  EXPECT_EQ(column(drawn(list), 2), "..........rrrrrrrrrr...............bbbbb");
  EXPECT_EQ(column(renderToPixels(list, 1, {.images = {}, .scrollOffsets = offsets}), 2),
            "...............gggggggggg..........bbbbb");
}

TEST(Canvas, RadialGradientIsThatOfCairo) {
  const std::vector<Color> colors{red, {0, 1, 0, 0.5}, blue, {1, 1, 0, 1}};
  const Rect rect{5, 5, 90, 70};
  for (const double scale : {1.0, 2.5}) {
    // Of the picture a part is visible.
    const DisplayList list = listOf(
        {100, 80}, {BeginClip{{{0, 20, 80, 60}, {}}},
                    fill(rect, RadialGradient{{50, 40}, 35, colors}, RoundedCorners::all(12)), EndClip{}});
    const Pixels pixels = drawn(list, scale);
    const Surface surface = imageSurface(pixels.width, pixels.height);
    const Drawing context(cairo_create(surface.get()));
    cairo_scale(context.get(), scale, scale);
    const Pattern pattern(cairo_pattern_create_radial(50, 40, 0, 50, 40, 35));
    for (std::size_t i = 0; i < 4; ++i) {
      cairo_pattern_add_color_stop_rgba(pattern.get(), static_cast<double>(i) / 3, colors[i].red,
                                        colors[i].green, colors[i].blue, colors[i].alpha);
    }
    cairo_set_source(context.get(), pattern.get());
    cairo_paint(context.get());
    cairo_surface_flush(surface.get());
    for (int y = static_cast<int>(21 * scale); y < 70 * scale; ++y) {
      for (int x = static_cast<int>(20 * scale); x < 79 * scale; ++x) {
        expectNear(pixels.at(x, y), rowOf(surface.get(), y)[x], 4,
                   std::to_string(x) + "," + std::to_string(y));
      }
    }
  }
}

TEST(Canvas, GradientsWithoutALengthShowTheirLastColour) {
  const std::vector<Color> colors{red, green};
  const double nan = std::numeric_limits<double>::quiet_NaN();
  for (const Paint& paint :
       {Paint(LinearGradient{{3, 3}, {3, 3}, colors}), Paint(RadialGradient{{5, 5}, 0, colors}),
        Paint(RadialGradient{{nan, 5}, 4, colors}), Paint(LinearGradient{{0, 0}, {1, 1}, {green}})}) {
    EXPECT_EQ(row(drawn(listOf({10, 10}, {fill({0, 0, 10, 10}, paint)})), 5), "gggggggggg");
  }
}

TEST(Canvas, PicturesAreFittedOrFillTheirRectangle) {
  const auto picture = decodePicture(pngOfStripes(40, 10, {red, green, blue, red}));
  const auto with = [&](documents::ImageContentMode mode) {
    return drawn(listOf({30, 30}, {DrawImage{0, {5, 5, 20, 20}, mode}}), 1, {picture});
  };
  const Pixels fitted = with(documents::ImageContentMode::fit);  // 20 by 5 at (5, 12.5)
  EXPECT_EQ(row(fitted, 15), ".....rrrrrgggggbbbbbrrrrr.....");
  EXPECT_EQ(column(fitted, 7), ".............rrrrr............");
  const Pixels filled = with(documents::ImageContentMode::crop);  // 80 by 20 at (-25, 5)
  EXPECT_EQ(row(filled, 15), ".....ggggggggg??bbbbbbbbb.....");
  EXPECT_EQ(column(filled, 7), ".....gggggggggggggggggggg.....");
}

TEST(Canvas, ScaledDownPicturesAreMeans) {
  std::vector<Color> stripes(200, white);
  for (std::size_t i = 0; i < stripes.size(); i += 2) stripes[i] = black;
  const Pixels pixels = drawn(listOf({20, 5}, {DrawImage{0, {0, 0, 20, 5}, {}}}), 1,
                              {decodePicture(pngOfStripes(200, 50, stripes))});
  for (int x = 0; x < 20; ++x) expectNear(pixels.at(x, 2), 0xFF808080, 12, std::to_string(x));
}

TEST(Canvas, ASlotThatIsNotKnownYetIsLoadingAndASpinnersTurnsAreAlike) {
  const DisplayList list = listOf({60, 60}, {DrawImage{0, {0, 0, 60, 60}, {}}});
  EXPECT_EQ(drawn(list), drawn(list, 1, {Loading{}}));
  EXPECT_EQ(drawn(list), renderToPixels(list, 1, {.images = {}, .scrollOffsets = {}, .spinnerTurn = 2}));
}

TEST(Canvas, ShadowFallsOffLikeABell) {
  const Pixels pixels = drawn(listOf({200, 40}, {DrawShadow{{{50, -100, 100, 240}, {}}, black, 4}}));
  // At d pixels outside a straight edge the opacity is the integral of the bell: 0.5, 0.1587, 0.0228.
  for (const auto& [x, opacity] : {std::pair{100, 1.0},
                                   {150, 0.4503},
                                   {149, 0.5497},
                                   {153, 0.1908},
                                   {157, 0.0304},
                                   {46, 0.1908},
                                   {20, 0.0}}) {
    EXPECT_NEAR(pixels.at(x, 20) >> 24, opacity * 255, 3) << x;
  }
}

TEST(Canvas, LinesHaveRoundEnds) {
  const Pixels pixels = drawn(listOf({40, 20}, {DrawLine{{10, 10}, {30, 10}, 8, red}}));
  expectPixels(
      pixels, {{10, 7, redPixel}, {7, 10, redPixel}, {6, 6, 0}, {33, 13, 0}, {32, 10, redPixel}, {20, 5, 0}});
}

TEST(Canvas, LengthsThatCairoCannotCountShowWhatIsVisibleOfThem) {
  constexpr double far = 1e9;
  const double infinity = std::numeric_limits<double>::infinity();
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const auto text = PangoTextMeasure(1).prepare({"far", inter(12)});
  const Pixels pixels = drawn(listOf(
      {30, 30},
      {fill({-far, -far, 2 * far, 2 * far}, red), fill({10, 10, far, far}, green, RoundedCorners::all(4)),
       fill({10, far, 10, 10}, blue), fill({nan, 0, 10, 10}, blue), fill({-infinity, 0, infinity, 5}, blue),
       fill({0, 0, -5, 5}, blue), DrawText{text, {0, far, 10, 10}, {}}, DrawText{text, {nan, 0, 10, 10}, {}},
       StrokeShape{{{-far, 20, 2 * far, far}, {}}, 2, blue}, StrokeShape{{{far, far, 5, 5}, {}}, 2, blue},
       DrawShadow{{{far, far, far, far}, {}}, blue, 2}, DrawLine{{0, 0}, {far, far}, 2, blue},
       DrawImage{0, {far, far, 50, 50}, {}}}));
  expectPixels(pixels, {{5, 5, redPixel},
                        {29, 5, redPixel},
                        {20, 15, greenPixel},
                        {29, 29, greenPixel},
                        {10, 10, redPixel},
                        {5, 20, bluePixel},
                        {5, 19, bluePixel},
                        {5, 21, redPixel},
                        {29, 18, greenPixel}});
  EXPECT_EQ(drawn(listOf({nan, 20}, {})), Pixels{});
  EXPECT_EQ(drawn(listOf({far, 3}, {})).width, longestRenderedSide);
}

TEST(Canvas, WhatIsOutOfSightCostsNothing) {
  const auto text = PangoTextMeasure(1).prepare({"Not to be seen", inter(12)});
  std::vector<Command> commands;
  for (int i = 0; i < 10'000; ++i) {
    const double y = 1'000 + i * 20.0;
    const Shape shape{{0, y, 1'000, 500}, RoundedCorners::all(9)};
    commands.insert(commands.end(),
                    {BeginClip{shape}, FillShape{shape, RadialGradient{{100, y}, 300, {red, blue}}},
                     DrawText{text, {0, y, 300, 20}, {}}, EndClip{}});
  }
  const auto begin = std::chrono::steady_clock::now();
  const Pixels pixels = drawn(listOf({1'000, 1'000}, std::move(commands)));
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(1));
  EXPECT_EQ(pixels.at(500, 999), 0U);
}

}  // namespace
}  // namespace sorn::draw
