#include <string>

#include <gtest/gtest.h>

#include "layout/NodeFrames.h"
#include "layout/Views.h"

namespace sorn::layout::testing {
namespace {

using documents::Arrangement;
using documents::TextAlign;

TEST(Frames, ArrangementAndAlignmentChooseThePlaceInTheFrame) {
  const std::pair<std::optional<Arrangement>, double> rows[] = {
      {Arrangement::top, 0}, {Arrangement::bottom, 1}, {Arrangement::center, 0.5}, {std::nullopt, 0.5}};
  const auto middleOfRow = Alignment::centerVertically;
  const auto middleOfColumn = Alignment::centerHorizontally;
  for (const auto& [type, middle, other] : {std::tuple{SornViewType::row, middleOfRow, middleOfColumn},
                                            {SornViewType::column, middleOfColumn, middleOfRow}}) {
    SornView node = view(type);
    const auto placement = [&](std::optional<Alignment> alignment) {
      node.alignment = alignment;
      return frameAlignment(node);
    };
    for (const auto& [arrangement, y] : rows) {
      node.arrangement = arrangement;
      EXPECT_EQ(placement(middle), (Placement{0.5, y}));
      EXPECT_EQ(placement(Alignment::end), (Placement{1, y}));
      EXPECT_EQ(placement(Alignment::start), (Placement{0, y}));
      EXPECT_EQ(placement(other), Placement::topLeading);
      EXPECT_EQ(placement(std::nullopt), Placement::topLeading);
    }
    for (const auto spreading : {Arrangement::spaceBetween, Arrangement::start}) {
      node.arrangement = spreading;
      EXPECT_EQ(placement(Alignment::end), Placement::topLeading);
    }
  }
}

TEST(Frames, TextsLieByTheirAlignmentAndAllElseAtTheTopLeading) {
  const std::tuple<TextAlign, Placement, LineAlignment> cases[] = {
      {TextAlign::justify, Placement::leading, LineAlignment::leading},
      {TextAlign::right, Placement::trailing, LineAlignment::trailing},
      {TextAlign::end, Placement::trailing, LineAlignment::trailing},
      {TextAlign::center, Placement::center, LineAlignment::center}};
  for (const auto& [align, placement, lines] : cases) {
    SornView node = text("a");
    node.textData->textAlign = align;
    EXPECT_EQ(frameAlignment(node), placement);
    EXPECT_EQ(styleOf(*node.textData, {}).alignment, lines);
  }
  EXPECT_EQ(frameAlignment(view(SornViewType::text)), Placement::leading);
  EXPECT_EQ(frameAlignment(aligned(button(), Alignment::end)), Placement::topLeading);
}

TEST(Frames, TheMarkerAndTheSpacerFillAndZeroIsNoSize) {
  EXPECT_EQ(laid(bounded(sized(text("ab"), -1, 0), 200), {300.0, 100.0}), "300x20");
  EXPECT_EQ(laid(sized(text("ab"), 0, 0), {300.0, 100.0}), "20x20");
  SornView spacing = bounded(text("ab"), 50);
  spacing.isSpacer = true;
  EXPECT_EQ(laid(spacing, {300.0, 100.0}), "300x100");
}

TEST(Frames, AnImageWithoutDataTakesNoPlaceUnlessItIsASpacer) {
  SornView nothing = sized(view(SornViewType::image), 50, 50);
  EXPECT_EQ(laid(row({text("ab"), nothing, text("cd")}), {300.0, std::nullopt}),
            "40x20: 0 0 20 20, 20 0 20 20");
  nothing = view(SornViewType::image);
  EXPECT_EQ(laid(nothing, {300.0, 100.0}), "0x0");
  nothing.isSpacer = true;
  EXPECT_EQ(laid(row({text("ab"), nothing, text("cd")}), {300.0, std::nullopt}),
            "300x20: 0 0 20 20, 20 0 260 20, 280 0 20 20");
}

TEST(Frames, AButtonIsItsLabel) {
  EXPECT_EQ(laid(button({text("ab"), fixed(30, 60)}), {300.0, 100.0}), "58x60: 0 20 20 20, 28 0 30 60");
  EXPECT_EQ(laid(button({text("ab")}), {300.0, 100.0}), "20x20: 0 0 20 20");
  SornView titled = sized(button(), 100, 50);
  titled.textData.emplace().text = "abcd";
  Laid childless(titled, {300.0, 300.0});
  EXPECT_EQ(childless.tree().nodes()[0].text->frame(), (Rect{30, 15, 40, 20}));
}

TEST(Frames, APictureThatComesLaterMovesOnlyWhatDependsOnIt) {
  // In a ratio the picture is offered both sides, so its own size means nothing.
  SornView inRatio = image();
  inRatio.aspectRatio = 2;
  Laid settled(column({inRatio, text("ab")}), {300.0, std::nullopt});
  EXPECT_FALSE(settled.tree().setImageSize(0, {600, 400}));

  Laid waiting(column({image(), text("ab")}), {300.0, std::nullopt});
  EXPECT_EQ(waiting.frame(2).y, 0);
  EXPECT_TRUE(waiting.tree().setImageSize(0, {600, 400}));
  waiting.item().place({300.0, std::nullopt}, {});
  EXPECT_EQ(waiting.frame(2).y, 400);
  EXPECT_FALSE(waiting.tree().setImageSize(0, {600, 400}));
}

// Whether no length is "inf" or "nan".
bool isFinite(const std::string& dump) { return dump.find('n') == std::string::npos; }

TEST(Frames, AbsurdLengthsStayFinite) {
  for (const double length : {1e300, -1e300, 1e-300, -5.0}) {
    SornView odd = padded(sized(image(), length, length), {length, length, -length, 7});
    odd.aspectRatio = length;
    odd.maxWidth = length;
    odd.maxHeight = -length;
    SornView spacing = odd;
    spacing.isSpacer = true;
    const SornView root = column({row({odd, spacing, text("ab")}), odd, column({spacing, row({odd})})});
    EXPECT_TRUE(isFinite(laid(root, {300.0, 400.0}, {600, 400}))) << length;
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
    worst = i % 2 == 0 ? button({square, worst, text("a b c")}) : column({square, worst, text("a b c")});
  }
  EXPECT_TRUE(isFinite(laid(worst, {4000.0, 9000.0})));

  const Laid wide(column(std::vector<SornView>(10'000, text("a"))), {300.0, 400.0});
  EXPECT_EQ(wide.frame(10'000).y, 9'999 * 20);
}

}  // namespace
}  // namespace sorn::layout::testing
