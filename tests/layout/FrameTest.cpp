#include <cmath>
#include <string>

#include <gtest/gtest.h>

#include "layout/NodeFrames.h"
#include "layout/Views.h"

namespace sorn::layout::testing {
namespace {

using documents::Arrangement;
using documents::TextAlign;

TEST(Frames, ArrangementAndAlignmentChooseThePlaceInTheFrame) {
  struct Case {
    std::optional<Arrangement> arrangement;
    Placement middle;
    Placement end;
    Placement start;
  };
  const Case cases[] = {
      {Arrangement::top, Placement::top, Placement::topTrailing, Placement::topLeading},
      {Arrangement::bottom, Placement::bottom, Placement::bottomTrailing, Placement::bottomLeading},
      {Arrangement::center, Placement::center, Placement::trailing, Placement::leading},
      {std::nullopt, Placement::center, Placement::trailing, Placement::leading},
      {Arrangement::spaceBetween, Placement::topLeading, Placement::topLeading, Placement::topLeading},
      {Arrangement::start, Placement::topLeading, Placement::topLeading, Placement::topLeading},
  };
  for (const SornViewType type : {SornViewType::row, SornViewType::column}) {
    const bool isRow = type == SornViewType::row;
    const Alignment middle = isRow ? Alignment::centerVertically : Alignment::centerHorizontally;
    const Alignment other = isRow ? Alignment::centerHorizontally : Alignment::centerVertically;
    for (const Case& each : cases) {
      SornView node = view(type);
      node.arrangement = each.arrangement;
      const auto placement = [&](std::optional<Alignment> alignment) {
        node.alignment = alignment;
        return frameAlignment(node);
      };
      EXPECT_EQ(placement(middle), each.middle);
      EXPECT_EQ(placement(Alignment::end), each.end);
      EXPECT_EQ(placement(Alignment::start), each.start);
      EXPECT_EQ(placement(other), Placement::topLeading);
      EXPECT_EQ(placement(std::nullopt), Placement::topLeading);
    }
  }
}

TEST(Frames, TextsLieByTheirAlignmentAndAllElseAtTheTopLeading) {
  const std::pair<TextAlign, Placement> cases[] = {
      {TextAlign::left, Placement::leading},  {TextAlign::justify, Placement::leading},
      {TextAlign::start, Placement::leading}, {TextAlign::right, Placement::trailing},
      {TextAlign::end, Placement::trailing},  {TextAlign::center, Placement::center},
  };
  for (const auto& [align, placement] : cases) {
    SornView node = text("a");
    node.textData->textAlign = align;
    EXPECT_EQ(frameAlignment(node), placement);
  }
  EXPECT_EQ(frameAlignment(view(SornViewType::text)), Placement::leading);
  EXPECT_EQ(frameAlignment(aligned(image(), Alignment::end)), Placement::topLeading);
  EXPECT_EQ(frameAlignment(aligned(view(SornViewType::button), Alignment::end)), Placement::topLeading);
}

TEST(Frames, TheMarkerAndTheSpacerFillAndZeroIsNoSize) {
  const auto widthOf = [](SornView node) { return Laid(std::move(node), {300.0, 100.0}).size().width; };
  SornView filling = sized(text("ab"), -1, 0);
  filling.maxWidth = 200;
  EXPECT_EQ(widthOf(filling), 300);
  EXPECT_EQ(widthOf(sized(text("ab"), 0, 0)), 20);
  SornView spacing = text("ab");
  spacing.isSpacer = true;
  spacing.maxWidth = 50;
  EXPECT_EQ(Laid(spacing, {300.0, 100.0}).size(), (Size{300, 100}));
}

TEST(Frames, AnImageWithoutDataTakesNoPlaceUnlessItIsASpacer) {
  SornView nothing = sized(view(SornViewType::image), 50, 50);
  const Laid without(row({text("ab"), nothing, text("cd")}), {300.0, std::nullopt});
  EXPECT_EQ(without.frames(), "0 0 20 20\n20 0 20 20\n");
  nothing = view(SornViewType::image);
  nothing.isSpacer = true;
  EXPECT_EQ(Laid(row({text("ab"), nothing, text("cd")}), {300.0, std::nullopt}).frames(),
            "0 0 20 20\n20 0 260 20\n280 0 20 20\n");
  EXPECT_EQ(Laid(view(SornViewType::image), {300.0, 100.0}).size(), Size());
}

TEST(Frames, AButtonIsItsLabel) {
  SornView two = view(SornViewType::button, {text("ab"), fixed(30, 60)});
  EXPECT_EQ(Laid(two, {300.0, 100.0}).frames(), "0 20 20 20\n28 0 30 60\n");
  const Laid one(view(SornViewType::button, {text("ab")}), {300.0, 100.0});
  EXPECT_EQ(one.size(), (Size{20, 20}));
  SornView titled = sized(view(SornViewType::button), 100, 50);
  titled.textData.emplace().text = "abcd";
  Laid childless(titled, {300.0, 300.0});
  EXPECT_EQ(childless.tree().nodes()[0].text->frame(), (Rect{30, 15, 40, 20}));
}

TEST(Frames, APictureThatComesLaterMovesOnlyWhatDependsOnIt) {
  // In a ratio the picture is offered both sides, so its own size means nothing.
  SornView bounded = image();
  bounded.aspectRatio = 2;
  Laid settled(column({bounded, text("ab")}), {300.0, std::nullopt});
  EXPECT_FALSE(settled.tree().setImageSize(0, {600, 400}));

  Laid waiting(column({image(), text("ab")}), {300.0, std::nullopt});
  EXPECT_EQ(waiting.frame(2).y, 0);
  EXPECT_TRUE(waiting.tree().setImageSize(0, {600, 400}));
  waiting.item().place({300.0, std::nullopt}, {});
  EXPECT_EQ(waiting.frame(2).y, 400);
  EXPECT_FALSE(waiting.tree().setImageSize(0, {600, 400}));
}

bool isFinite(const Rect& rect) {
  return std::isfinite(rect.x) && std::isfinite(rect.y) && std::isfinite(rect.width) &&
         std::isfinite(rect.height);
}

TEST(Frames, AbsurdLengthsStayFinite) {
  for (const double length : {1e300, -1e300, 1e-300, -5.0}) {
    SornView odd = padded(sized(image(), length, length), {length, length, -length, 7});
    odd.aspectRatio = length;
    odd.maxWidth = length;
    odd.maxHeight = -length;
    SornView spacing = odd;
    spacing.isSpacer = true;
    Laid laid(column({row({odd, spacing, text("ab")}), odd, column({spacing, row({odd})})}), {300.0, 400.0},
              {600, 400});
    for (const NodeBox& node : laid.tree().nodes()) EXPECT_TRUE(isFinite(node.box->frame())) << length;
  }
}

TEST(Frames, DeepAndWideDocumentsAreLaidOutInTime) {
  SornView deep = text("ab");
  for (int i = 0; i < 200; ++i)
    deep = i % 2 == 0 ? row({text("a"), deep, spacer()}) : column({text("a"), deep, spacer()});
  EXPECT_EQ(Laid(deep, {4000.0, 9000.0}).size().width, 4000);

  // Labels of several views are rows whose height is not fixed: the worst case for remembered answers.
  SornView worst = text("ab");
  for (int i = 0; i < 120; ++i) {
    SornView square = image();
    square.aspectRatio = 1 + i * 0.01;
    worst = i % 2 == 0 ? view(SornViewType::button, {square, worst, text("a b c")})
                       : column({square, worst, text("a b c")});
  }
  EXPECT_TRUE(isFinite(Laid(worst, {4000.0, 9000.0}).frame(0)));

  const Laid wide(column(std::vector<SornView>(10'000, text("a"))), {300.0, 400.0});
  EXPECT_EQ(wide.frame(10'000).y, 9'999 * 20);
}

}  // namespace
}  // namespace sorn::layout::testing
