#include <chrono>
#include <limits>

#include <gmock/gmock.h>

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
  for (const auto& [x, y, pixel] : probes) {
    EXPECT_EQ(testing::PrintToString(pixels.at(x, y)), testing::PrintToString(pixel)) << x << ", " << y;
  }
}

// Each channel as near as that.
void expectNear(std::uint32_t pixel, std::uint32_t expected, int tolerance, const std::string& where) {
  for (int shift = 0; shift < 32; shift += 8) {
    const int difference =
        static_cast<int>(pixel >> shift & 0xFF) - static_cast<int>(expected >> shift & 0xFF);
    EXPECT_LE(std::abs(difference), tolerance) << where << std::hex << " " << pixel << " for " << expected;
  }
}

TEST(Canvas, EdgesGoToTheNearestPixel) {
  const DisplayList list = listOf({20, 10}, {fill({2.4, 2.6, 5.2, 3}, red), fill({7.6, 2.6, 5, 3}, green)});
  // At 1: red from 2 to 8, green from 8 to 13, both from row 3 to 6; no pixel is mixed.
  expectPixels(renderToPixels(list, 1, {}), {{1, 4, 0},
                                             {2, 3, redPixel},
                                             {7, 5, redPixel},
                                             {8, 4, greenPixel},
                                             {12, 4, greenPixel},
                                             {13, 4, 0},
                                             {4, 2, 0},
                                             {4, 6, 0}});
  const Pixels twice = renderToPixels(list, 2, {});
  EXPECT_EQ(twice.width, 40);
  expectPixels(twice,
               {{4, 8, 0}, {5, 8, redPixel}, {14, 8, redPixel}, {15, 8, greenPixel}, {25, 8, 0}, {6, 4, 0}});
}

TEST(Canvas, EachCornerHasItsRadius) {
  const Pixels pixels = renderToPixels(
      listOf({60, 40}, {fill({0, 0, 60, 40}, red, {.tl = 0, .tr = 8, .bl = 100, .br = 16})}), 1, {});
  // The limit of the lower left one is half of the smaller side: 20.
  expectPixels(pixels, {{0, 0, redPixel},
                        {59, 0, 0},
                        {58, 1, 0},
                        {54, 3, redPixel},
                        {59, 39, 0},
                        {55, 36, 0},
                        {52, 33, redPixel},
                        {0, 39, 0},
                        {4, 35, 0},
                        {8, 32, redPixel},
                        {0, 18, redPixel}});
}

TEST(Canvas, StrokeStraddlesThePathWithMitredCorners) {
  const Pixels pixels =
      renderToPixels(listOf({40, 40}, {StrokeShape{{{10, 10, 20, 20}, {}}, 6, blue}}), 1, {});
  expectPixels(
      pixels,
      {{7, 7, bluePixel}, {6, 6, 0}, {12, 20, bluePixel}, {13, 20, 0}, {32, 32, bluePixel}, {33, 20, 0}});
  const Pixels none = renderToPixels(listOf({40, 40}, {StrokeShape{{{10, 10, 20, 20}, {}}, 0, blue}}), 1, {});
  expectPixels(none, {{10, 20, 0}, {9, 20, 0}});
}

TEST(Canvas, ClipsNestAndEnd) {
  const Pixels pixels =
      renderToPixels(listOf({40, 40}, {BeginClip{{{0, 0, 20, 20}, RoundedCorners::all(10)}},
                                       BeginClip{{{10, 0, 30, 40}, {}}}, fill({0, 0, 40, 40}, red), EndClip{},
                                       fill({0, 9, 4, 2}, green), EndClip{}, fill({30, 30, 5, 5}, blue),
                                       EndClip{}, fill({36, 36, 4, 4}, green)}),
                     1, {});
  expectPixels(pixels, {{9, 10, 0},
                        {10, 10, redPixel},
                        {18, 1, 0},
                        {20, 10, 0},
                        {2, 10, greenPixel},
                        {32, 32, bluePixel},
                        {38, 38, greenPixel}});
}

TEST(Canvas, ScrolledContentMovesWithinItsViewport) {
  DisplayList list =
      listOf({20, 40}, {BeginScroll{0}, fill({0, 10, 20, 10}, red), fill({0, 60, 20, 10}, green), EndScroll{},
                        fill({0, 35, 5, 5}, blue), BeginScroll{7}, fill({0, 0, 5, 5}, blue), EndScroll{}});
  list.scrollAreas = {{{0, 10, 20, 20}, 80}};
  const double offsets[] = {45.3};  // 45 pixels
  expectPixels(renderToPixels(list, 1, {}),
               {{0, 9, 0}, {0, 10, redPixel}, {0, 20, 0}, {2, 37, bluePixel}, {2, 2, 0}});
  expectPixels(
      renderToPixels(list, 1, {.images = {}, .scrollOffsets = offsets}),
      {{0, 10, 0}, {0, 14, 0}, {0, 15, greenPixel}, {0, 24, greenPixel}, {0, 25, 0}, {2, 37, bluePixel}});
}

TEST(Canvas, LinearGradientsGoFromEdgeToEdge) {
  const DisplayList list =
      listOf({256, 2}, {fill({0, 0, 256, 2}, LinearGradient{{0, 0}, {256, 0}, {red, green, blue}})});
  const Pixels pixels = renderToPixels(list, 1, {});
  expectNear(pixels.at(0, 0), redPixel, 2, "begin");
  expectNear(pixels.at(64, 1), 0xFF7F7F00, 2, "quarter");
  expectNear(pixels.at(128, 1), greenPixel, 2, "middle");
  expectNear(pixels.at(255, 0), bluePixel, 2, "end");
}

TEST(Canvas, RadialGradientIsThatOfCairo) {
  const std::vector<Color> colors{red, {0, 1, 0, 0.5}, blue, {1, 1, 0, 1}};
  const Rect rect{5, 5, 90, 70};
  for (const double scale : {1.0, 2.5}) {
    // Of the picture a part is visible.
    const DisplayList list = listOf(
        {100, 80}, {BeginClip{{{0, 20, 80, 60}, {}}},
                    fill(rect, RadialGradient{{50, 40}, 35, colors}, RoundedCorners::all(12)), EndClip{}});
    const Pixels pixels = renderToPixels(list, scale, {});
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
    for (double y = 21; y < 70; y += 0.5) {
      for (double x = 20; x < 79; x += 0.5) {
        const auto px = static_cast<int>(x * scale);
        const auto py = static_cast<int>(y * scale);
        expectNear(pixels.at(px, py), rowOf(surface.get(), py)[px], 4,
                   std::to_string(px) + "," + std::to_string(py));
      }
    }
    expectPixels(pixels, {{static_cast<int>(6 * scale), static_cast<int>(19 * scale), 0},
                          {static_cast<int>(85 * scale), static_cast<int>(40 * scale), 0}});
  }
}

TEST(Canvas, GradientsWithoutALengthShowTheirLastColour) {
  const std::vector<Color> colors{red, green};
  const double nan = std::numeric_limits<double>::quiet_NaN();
  for (const Paint& paint :
       {Paint(LinearGradient{{3, 3}, {3, 3}, colors}), Paint(RadialGradient{{5, 5}, 0, colors}),
        Paint(RadialGradient{{nan, 5}, 4, colors}), Paint(LinearGradient{{0, 0}, {1, 1}, {green}})}) {
    expectPixels(renderToPixels(listOf({10, 10}, {fill({0, 0, 10, 10}, paint)}), 1, {}),
                 {{1, 1, greenPixel}, {8, 8, greenPixel}});
  }
}

TEST(Canvas, PicturesAreFittedOrFillTheirRectangle) {
  const auto picture = decodePicture(pngOfStripes(80, 20, {red, green, blue, {1, 1, 0, 1}}));
  for (const double scale : {0.25, 1.0, 4.0}) {
    const auto drawn = [&](documents::ImageContentMode mode) {
      const ImageState state = picture;
      return renderToPixels(listOf({60, 60}, {DrawImage{0, {10, 10, 40, 40}, mode}}), scale,
                            {.images = {&state, 1}, .scrollOffsets = {}});
    };
    const auto at = [&](const Pixels& pixels, double x, double y) {
      return pixels.at(static_cast<int>(x * scale), static_cast<int>(y * scale));
    };
    const Pixels fitted = drawn(documents::ImageContentMode::fit);  // 40 by 10 at (10, 25)
    expectNear(at(fitted, 15, 30), redPixel, 3, "fit");
    expectNear(at(fitted, 44, 30), 0xFFFFFF00, 3, "fit");
    EXPECT_EQ(at(fitted, 30, 18), 0U);
    EXPECT_EQ(at(fitted, 30, 40), 0U);
    const Pixels filled =
        drawn(documents::ImageContentMode::crop);  // 160 by 40 at (-50, 10): green and blue are seen
    expectNear(at(filled, 15, 12), greenPixel, 3, "crop");
    expectNear(at(filled, 44, 48), bluePixel, 3, "crop");
    EXPECT_EQ(at(filled, 5, 30), 0U);
    EXPECT_EQ(at(filled, 55, 30), 0U);
  }
}

TEST(Canvas, ScaledDownPicturesAreMeans) {
  std::vector<Color> stripes;
  stripes.reserve(200);
  for (int i = 0; i < 200; ++i) stripes.push_back(i % 2 == 0 ? black : white);
  const ImageState state = decodePicture(pngOfStripes(200, 50, stripes));
  const Pixels pixels = renderToPixels(listOf({20, 5}, {DrawImage{0, {0, 0, 20, 5}, {}}}), 1,
                                       {.images = {&state, 1}, .scrollOffsets = {}});
  for (int x = 0; x < 20; ++x) expectNear(pixels.at(x, 2), 0xFF808080, 12, std::to_string(x));
}

TEST(Canvas, SlotsShowTheSpinnerOrThePlaceholder) {
  const auto ink = [](const Pixels& pixels, const Rect& rect) {
    long sum = 0;
    for (int y = 0; y < rect.height; ++y) {
      for (int x = 0; x < rect.width; ++x)
        sum += pixels.at(static_cast<int>(rect.x) + x, static_cast<int>(rect.y) + y) >> 24;
    }
    return sum;
  };
  const DisplayList list = listOf({100, 100}, {DrawImage{0, {0, 0, 100, 100}, {}}});
  const Pixels loading = renderToPixels(list, 1, {});  // no slot is known yet
  EXPECT_GT(ink(loading, {31, 31, 38, 38}), 10'000);
  EXPECT_EQ(ink(loading, {31, 31, 38, 38}), ink(loading, {0, 0, 100, 100}));
  EXPECT_NE(renderToPixels(list, 1, {.images = {}, .scrollOffsets = {}, .spinnerTurn = 0.5}), loading);
  EXPECT_EQ(renderToPixels(list, 1, {.images = {}, .scrollOffsets = {}, .spinnerTurn = 2}), loading);
  // The strongest spoke points up at the turn's begin, and is as told.
  expectNear(loading.at(50, 36), 0xFF939CA6, 2, "spoke");
  const ImageState none = std::shared_ptr<const Picture>();
  const ImageState broken = brokenPicture();
  const Pixels placeholder = renderToPixels(list, 1, {.images = {&none, 1}, .scrollOffsets = {}});
  EXPECT_EQ(placeholder, renderToPixels(list, 1, {.images = {&broken, 1}, .scrollOffsets = {}}));
  EXPECT_GT(ink(placeholder, {0, 0, 100, 100}), ink(loading, {0, 0, 100, 100}));
}

TEST(Canvas, ShadowFallsOffLikeABell) {
  const Pixels pixels =
      renderToPixels(listOf({200, 40}, {DrawShadow{{{50, -100, 100, 240}, {}}, black, 4}}), 1, {});
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
  const Pixels pixels = renderToPixels(listOf({40, 20}, {DrawLine{{10, 10}, {30, 10}, 8, red}}), 1, {});
  expectPixels(
      pixels, {{10, 7, redPixel}, {7, 10, redPixel}, {6, 6, 0}, {33, 13, 0}, {32, 10, redPixel}, {20, 5, 0}});
}

TEST(Canvas, LengthsThatCairoCannotCountShowWhatIsVisibleOfThem) {
  constexpr double far = 1e9;
  const double infinity = std::numeric_limits<double>::infinity();
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const auto text = PangoTextMeasure(1).prepare({"far", inter(12)});
  const Pixels pixels = renderToPixels(
      listOf({30, 30},
             {fill({-far, -far, 2 * far, 2 * far}, red),
              fill({10, 10, far, far}, green, RoundedCorners::all(4)), fill({10, far, 10, 10}, blue),
              fill({nan, 0, 10, 10}, blue), fill({-infinity, 0, infinity, 5}, blue),
              fill({0, 0, -5, 5}, blue), DrawText{text, {0, far, 10, 10}, {}},
              DrawText{text, {nan, 0, 10, 10}, {}}, StrokeShape{{{-far, 20, 2 * far, far}, {}}, 2, blue},
              StrokeShape{{{far, far, 5, 5}, {}}, 2, blue}, DrawShadow{{{far, far, far, far}, {}}, blue, 2},
              DrawLine{{0, 0}, {far, far}, 2, blue}, DrawImage{0, {far, far, 50, 50}, {}}}),
      1, {});
  expectPixels(pixels, {{5, 5, redPixel},
                        {29, 5, redPixel},
                        {20, 15, greenPixel},
                        {29, 29, greenPixel},
                        {10, 10, redPixel},
                        {5, 20, bluePixel},
                        {5, 19, bluePixel},
                        {5, 21, redPixel},
                        {29, 18, greenPixel}});
  EXPECT_EQ(renderToPixels(listOf({nan, 20}, {}), 1, {}), Pixels{});
  EXPECT_EQ(renderToPixels(listOf({far, 3}, {}), 1, {}).width, longestRenderedSide);
}

TEST(Canvas, WhatIsOutOfSightCostsNothing) {
  const auto text = PangoTextMeasure(1).prepare({"Not to be seen", inter(12)});
  std::vector<Command> commands;
  for (int i = 0; i < 10'000; ++i) {
    const double y = 1'000 + i * 20.0;
    commands.emplace_back(BeginClip{{{0, y, 1'000, 500}, RoundedCorners::all(9)}});
    commands.emplace_back(
        fill({0, y, 1'000, 500}, RadialGradient{{100, y}, 300, {red, blue}}, RoundedCorners::all(9)));
    commands.emplace_back(DrawText{text, {0, y, 300, 20}, {}});
    commands.emplace_back(EndClip{});
  }
  const DisplayList list = listOf({1'000, 1'000}, std::move(commands));
  const auto begin = std::chrono::steady_clock::now();
  const Pixels pixels = renderToPixels(list, 1, {});
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(1));
  EXPECT_EQ(pixels.at(500, 999), 0U);
}

}  // namespace
}  // namespace sorn::draw
