#include <limits>

#include <gtest/gtest.h>

#include "layout/Frames.h"
#include "layout/Stack.h"
#include "layout/Views.h"

// Layouts worked out by hand.

namespace sorn::layout::testing {
namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr std::nullopt_t ideal = std::nullopt;

SornView filling(SornView node, bool width, bool height) {
  if (width) node.width = -1;
  if (height) node.height = -1;
  return node;
}

SornView button() { return view(SornViewType::button); }

TEST(Layout, ARowOffersEqualSharesToTheLeastFlexibleFirst) {
  const Laid row1(row({fixed(50, 30), spacer(), text("abcdefgh")}), {300.0, ideal});
  EXPECT_EQ(row1.size(), (Size{300, 30}));
  EXPECT_EQ(row1.frames(), "0 0 50 30\n50 0 170 30\n220 0 80 20\n");

  const Laid row2(row({text("aaaa bbb"), text("cccccccc")}), {100.0, ideal});
  EXPECT_EQ(row2.size(), (Size{100, 40}));
  EXPECT_EQ(row2.frames(), "0 0 40 40\n40 0 60 40\n");
}

TEST(Layout, AGreedyNeighbourMakesATextWrapThoughRoomIsLeft) {
  const Laid laid(row({text("abc"), text("aaaa bbbb cccc dddd e"), spacer()}), {300.0, ideal});
  EXPECT_EQ(laid.frames(), "0 0 30 20\n30 0 110 40\n140 0 160 40\n");
}

TEST(Layout, EquallyGreedyChildrenShareEvenly) {
  SornView bounded = button();
  bounded.maxWidth = 100;
  const Laid laid(row({bounded, button()}), {150.0, 50.0});
  EXPECT_EQ(laid.frame(1).width, 75);
  EXPECT_EQ(laid.frame(2), (Rect{75, 0, 75, laid.frame(2).height}));
}

TEST(Layout, AFlexibleFrameFillsUpToItsBound) {
  SornView bounded = text("abcdefgh");
  bounded.maxWidth = 200;
  EXPECT_EQ(Laid(bounded, {300.0, ideal}).size().width, 200);
  EXPECT_EQ(Laid(bounded, {150.0, ideal}).size().width, 150);
  EXPECT_EQ(Laid(bounded, {ideal, ideal}).size().width, 80);
  EXPECT_EQ(Laid(bounded, {infinity, ideal}).size().width, 200);

  SornView cut = row({fixed(250, 10)});
  cut.maxWidth = 200;
  const Laid overflowing(cut, {300.0, ideal});
  EXPECT_EQ(overflowing.size().width, 200);
  EXPECT_EQ(overflowing.frames(), "0 0 250 10\n");

  EXPECT_EQ(Laid(filling(row({fixed(250, 10)}), true, false), {100.0, ideal}).size().width, 250);
}

TEST(Layout, LargerContentSpillsOverAFixedFrameByItsPlacement) {
  SornView centred = aligned(sized(column({fixed(160, 60)}), 100, 40), Alignment::centerHorizontally);
  EXPECT_EQ(Laid(centred, {300.0, 300.0}).frames(), "-30 -10 160 60\n");
  EXPECT_EQ(Laid(aligned(centred, Alignment::top), {300.0, 300.0}).frames(), "0 0 160 60\n");
}

TEST(Layout, ARatioBoundsOnlyWhatGrows) {
  SornView picture = filling(image(), true, false);
  picture.aspectRatio = 2;
  EXPECT_EQ(Laid(picture, {300.0, ideal}, {600, 400}).size(), (Size{300, 150}));
  Laid low(picture, {300.0, 100.0}, {600, 400});
  EXPECT_EQ(low.size(), (Size{300, 100}));
  EXPECT_EQ(low.tree().nodes()[0].picture->frame(), (Rect{0, 0, 200, 100}));
  EXPECT_EQ(Laid(picture, {ideal, ideal}, {600, 400}).size(), (Size{600, 400}));

  SornView words = text("abcdefgh");
  words.aspectRatio = 2;
  EXPECT_EQ(Laid(words, {300.0, ideal}).size(), (Size{80, 20}));
}

TEST(Layout, ARowInsideAFixedHeightKeepsItsIdealOne) {
  SornView inner = row({text("abc"), filling(button(), false, true)});
  inner.height = 100;
  const Laid laid(inner, {300.0, ideal});
  EXPECT_EQ(laid.size(), (Size{300, 100}));
  EXPECT_EQ(laid.frames(), "0 0 30 20\n30 0 270 20\n");
}

TEST(Layout, FlexibleChildrenOfARowStretchToTheTallestInTheEnd) {
  const Laid laid(row({column({text("ab"), spacer(), text("cd")}), text("aaaa bbbb cccc dddd eeee ffff")}),
                  {140.0, ideal});
  EXPECT_EQ(laid.size(), (Size{140, 120}));
  EXPECT_EQ(laid.frames(), "0 0 100 120\n0 0 20 20\n0 20 100 80\n0 100 20 20\n100 0 40 120\n");
}

TEST(Layout, AColumnSharesItsHeight) {
  const SornView centred =
      aligned(column({text("abc"), spacer(), spacer(), fixed(80, 50)}), Alignment::bottom);
  EXPECT_EQ(Laid(centred, {200.0, 300.0}).frames(),
            "85 0 30 20\n0 20 200 115\n0 135 200 115\n60 250 80 50\n");

  const SornView tall = column({text("abc"), spacer(), filling(button(), true, false)});
  EXPECT_EQ(Laid(tall, {320.0, ideal}).frames(), "0 0 30 20\n0 20 320 0\n0 20 320 10\n");

  const SornView low = column({text("aaaa bbbb cccc"), fixed(60, 30)});
  EXPECT_EQ(Laid(low, {60.0, 50.0}).frames(), "0 0 60 20\n0 20 60 30\n");
}

TEST(Layout, APictureHasItsOwnSizeWhereNothingIsOffered) {
  EXPECT_EQ(Laid(image(), {300.0, ideal}).size(), (Size{300, 0}));
  EXPECT_EQ(Laid(image(), {300.0, ideal}, {600, 400}).size(), (Size{300, 400}));
}

TEST(Layout, AScrollingRootIsAsWideAsItsContentAndAtItsTop) {
  SornView root = fixed(200, 900);
  root.isSafe = true;
  root.rootType = documents::RootType::fullscreen;
  Laid laid(root, {});
  placeCentered(laid.item(), {0, 0, 320, 480});
  EXPECT_EQ(laid.item().frame(), (Rect{60, 0, 200, 480}));
  EXPECT_EQ(laid.frame(0), (Rect{60, 0, 200, 900}));

  root.rootType = documents::RootType::dialog;
  EXPECT_EQ(Laid(root, {320.0, 480.0}).size(), (Size{200, 900}));
}

TEST(Layout, PaddingIsAMarginOutsideTheNode) {
  const Laid laid(column({padded(fixed(50, 30), {1, 2, 3, 4, 5}), text("ab")}), {300.0, ideal});
  EXPECT_EQ(laid.size(), (Size{54, 56}));
  EXPECT_EQ(laid.frames(), "1 2 50 30\n0 36 20 20\n");
  EXPECT_DEATH(Laid(padded(text("a"), {1, 2}), {300.0, ideal}), "padding");
  EXPECT_DEATH(Laid(padded(text("a"), {}), {300.0, ideal}), "padding");
}

}  // namespace
}  // namespace sorn::layout::testing
