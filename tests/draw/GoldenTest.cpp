#include <gmock/gmock.h>

#include "draw/GoldenPictures.h"
#include "draw/TestPictures.h"

namespace sorn::draw {
namespace {

using namespace layout;

DrawText text(const std::string& words, const Rect& rect, TextStyle style) {
  static auto& measure = *new PangoTextMeasure(2);
  return {measure.prepare({words, std::move(style)}), rect, {rect.width, rect.height}};
}

TextStyle styled(double size, documents::FontWeight weight, Color color, LineAlignment alignment = {}) {
  TextStyle style = inter(size);
  style.weight = weight;
  style.color = color;
  style.alignment = alignment;
  return style;
}

constexpr Color ink{0.1, 0.12, 0.2, 1};

void expectGolden(const std::string& name, const DisplayList& list, const Frame& frame = {}) {
  EXPECT_EQ(differenceFromGolden(renderToPixels(list, 2, frame), SORN_GOLDEN_FOLDER "/" + name), "");
}

TEST(Golden, Dialog) {
  using enum documents::FontWeight;
  const Shape card{{10, 14, 130, 126}, RoundedCorners::all(12)};
  const Shape button{{22, 112, 106, 20}, RoundedCorners::all(10)};
  const Shape close{{126, 4, 24, 24}, RoundedCorners::all(12)};
  const ImageState picture =
      decodePicture(pngOfStripes(90, 30, {{0.9, 0.6, 0.2, 1}, {0.95, 0.8, 0.4, 1}, {0.5, 0.7, 0.5, 1}}));
  expectGolden(
      "dialog.png",
      listOf(
          {150, 150},
          {fill({0, 0, 150, 150}, LinearGradient{{0, 0}, {0, 150}, {{0.2, 0.3, 0.6, 1}, {0.7, 0.4, 0.6, 1}}}),
           BeginClip{card}, FillShape{card, white},
           DrawImage{0, {10, 14, 130, 46}, documents::ImageContentMode::crop},
           text("Welcome back", {20, 64, 110, 18}, styled(14, bold, ink, LineAlignment::center)),
           text("Two weeks free for you and one friend, if you join before Sunday evening", {20, 82, 110, 26},
                styled(10, normal, {0.35, 0.37, 0.42, 1}, LineAlignment::center)),
           FillShape{button, Color{0.1, 0.5, 0.9, 1}}, StrokeShape{button, 2, {0, 0.3, 0.6, 1}},
           text("Join now", {22, 115, 106, 14}, styled(11, semiBold, white, LineAlignment::center)),
           EndClip{}, DrawShadow{close, {0, 0, 0, 0.3}, 2}, FillShape{close, white},
           DrawLine{{134, 12}, {142, 20}, 1.5, layout::black},
           DrawLine{{142, 12}, {134, 20}, 1.5, layout::black}}),
      {.images = {&picture, 1}, .scrollOffsets = {}});
}

TEST(Golden, Texts) {
  using enum documents::FontWeight;
  std::vector<Command> commands{fill({0, 0, 150, 150}, white)};
  double y = 2;
  for (const auto weight :
       {thin, extraLight, light, normal, medium, semiBold, bold, extraBold, documents::FontWeight::black}) {
    TextStyle style = styled(9, weight, ink);
    style.isItalic = weight == light || weight == bold;
    commands.emplace_back(text("Hamburg fjord", {4, y, 72, 11}, style));
    y += 11;
  }
  for (const auto alignment : {LineAlignment::leading, LineAlignment::center, LineAlignment::trailing}) {
    commands.emplace_back(text("Aligned lines of some length",
                               {80, static_cast<double>(alignment) * 34 + 2, 66, 33},
                               styled(9, normal, {0.6, 0.1, 0.1, 1}, alignment)));
  }
  const std::string sentence = "A sentence that is longer than its two lines can ever hold";
  TextStyle cut = styled(10, normal, {0, 0.4, 0.2, 1});
  cut.lineLimit = 2;
  commands.emplace_back(text(sentence, {4, 106, 66, 30}, cut));
  cut.truncation = Truncation::middle;
  commands.emplace_back(text(sentence, {80, 106, 66, 30}, cut));
  expectGolden("texts.png", listOf({150, 150}, commands));
}

TEST(Golden, Shapes) {
  const std::vector<Color> rainbow{{0.9, 0.2, 0.2, 1}, {0.95, 0.8, 0.2, 1}, {0.2, 0.6, 0.9, 1}};
  expectGolden(
      "shapes.png",
      listOf({140, 140},
             {fill({4, 4, 60, 40}, Color{0.2, 0.5, 0.8, 1}, {.tl = 0, .tr = 6, .bl = 20, .br = 12}),
              StrokeShape{{{76, 6, 56, 36}, {.tl = 14, .tr = 0, .bl = 3, .br = 18}}, 4, {0.8, 0.3, 0.1, 1}},
              fill({4, 50, 60, 40}, RadialGradient{{34, 70}, 20, rainbow}, RoundedCorners::all(8)),
              fill({72, 50, 64, 40}, LinearGradient{{72, 70}, {136, 70}, rainbow}, RoundedCorners::all(20)),
              BeginClip{{{4, 96, 40, 40}, RoundedCorners::all(20)}}, fill({4, 96, 40, 20}, red),
              fill({4, 116, 40, 20}, blue), EndClip{},
              DrawShadow{{{56, 104, 26, 26}, RoundedCorners::all(13)}, {0, 0, 0, 0.6}, 3},
              fill({56, 104, 26, 26}, white, RoundedCorners::all(13)),
              fill({92, 100, 40, 36}, Color{0.1, 0.7, 0.3, 0.5}),
              fill({106, 110, 30, 26}, Color{0.9, 0.1, 0.5, 0.5}, RoundedCorners::all(5))}));
}

TEST(Golden, Pictures) {
  const std::vector<ImageState> states{std::shared_ptr<const Picture>(), Loading{}, brokenPicture(),
                                       decodePicture(pngOfStripes(40, 40, {red, white, blue}))};
  expectGolden("pictures.png",
               listOf({140, 140}, {fill({0, 0, 140, 140}, white), DrawImage{0, {3, 3, 64, 64}, {}},
                                   DrawImage{1, {73, 3, 64, 64}, {}},
                                   DrawImage{2, {73, 73, 64, 30}, documents::ImageContentMode::crop},
                                   DrawImage{3, {3, 73, 64, 50}, documents::ImageContentMode::fit},
                                   DrawImage{1, {90, 110, 20, 20}, {}}}),
               {.images = states, .scrollOffsets = {}, .spinnerTurn = 0.3});
}

}  // namespace
}  // namespace sorn::draw
