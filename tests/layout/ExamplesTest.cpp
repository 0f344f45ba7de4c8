#include <limits>

#include <gtest/gtest.h>

#include "layout/Views.h"

// Layouts worked out by hand.

namespace sorn::layout::testing {
namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr std::nullopt_t ideal = std::nullopt;

TEST(Layout, ARowOffersEqualSharesToTheLeastFlexibleFirst) {
  EXPECT_EQ(laid(row({fixed(50, 30), spacer(), text("abcdefgh")}), {300.0, ideal}),
            "300x30: 0 0 50 30, 50 0 170 30, 220 0 80 20");
  EXPECT_EQ(laid(row({text("aaaa bbb"), text("cccccccc")}), {100.0, ideal}), "100x40: 0 0 40 40, 40 0 60 40");
  // A greedy neighbour makes a text wrap though room is left.
  EXPECT_EQ(laid(row({text("abc"), text("aaaa bbbb cccc dddd e"), spacer()}), {300.0, ideal}),
            "300x40: 0 0 30 20, 30 0 110 40, 140 0 160 40");
  EXPECT_EQ(laid(row({bounded(button(), 100), button()}), {150.0, 50.0}), "150x10: 0 0 75 10, 75 0 75 10");
}

TEST(Layout, AFlexibleFrameFillsUpToItsBound) {
  const SornView words = bounded(text("abcdefgh"), 200);
  EXPECT_EQ(laid(words, {300.0, ideal}), "200x20");
  EXPECT_EQ(laid(words, {150.0, ideal}), "150x20");
  EXPECT_EQ(laid(words, {ideal, ideal}), "80x20");
  EXPECT_EQ(laid(words, {infinity, ideal}), "200x20");
  EXPECT_EQ(laid(bounded(row({fixed(250, 10)}), 200), {300.0, ideal}), "200x10: 0 0 250 10");
  EXPECT_EQ(laid(sized(row({fixed(250, 10)}), -1, 0), {100.0, ideal}), "250x10: 0 0 250 10");
}

TEST(Layout, LargerContentSpillsOverAFixedFrameByItsPlacement) {
  const SornView large = sized(column({fixed(160, 60)}), 100, 40);
  EXPECT_EQ(laid(aligned(large, Alignment::centerHorizontally), {300.0, 300.0}), "100x40: -30 -10 160 60");
  EXPECT_EQ(laid(aligned(large, Alignment::top), {300.0, 300.0}), "100x40: 0 0 160 60");
}

TEST(Layout, ARatioBoundsOnlyWhatGrows) {
  SornView picture = sized(image(), -1, 0);
  picture.aspectRatio = 2;
  EXPECT_EQ(laid(picture, {300.0, ideal}, {600, 400}), "300x150");
  EXPECT_EQ(laid(picture, {ideal, ideal}, {600, 400}), "600x400");
  Laid low(picture, {300.0, 100.0}, {600, 400});
  EXPECT_EQ(low.size(), (Size{300, 100}));
  EXPECT_EQ(low.tree().nodes()[0].picture->frame(), (Rect{0, 0, 200, 100}));

  SornView words = text("abcdefgh");
  words.aspectRatio = 2;
  EXPECT_EQ(laid(words, {300.0, ideal}), "80x20");
}

TEST(Layout, FlexibleChildrenOfARowStretchToTheTallestInTheEnd) {
  EXPECT_EQ(laid(row({column({text("ab"), spacer(), text("cd")}), text("aaaa bbbb cccc dddd eeee ffff")}),
                 {140.0, ideal}),
            "140x120: 0 0 100 120, 0 0 20 20, 0 20 100 80, 0 100 20 20, 100 0 40 120");
  // Inside a fixed height a row keeps its ideal one.
  EXPECT_EQ(laid(sized(row({text("abc"), sized(button(), 0, -1)}), 0, 100), {300.0, ideal}),
            "300x100: 0 0 30 20, 30 0 270 20");
}

TEST(Layout, AColumnSharesItsHeight) {
  EXPECT_EQ(laid(aligned(column({text("abc"), spacer(), spacer(), fixed(80, 50)}), Alignment::bottom),
                 {200.0, 300.0}),
            "200x300: 85 0 30 20, 0 20 200 115, 0 135 200 115, 60 250 80 50");
  EXPECT_EQ(laid(column({text("abc"), spacer(), sized(button(), -1, 0)}), {320.0, ideal}),
            "320x30: 0 0 30 20, 0 20 320 0, 0 20 320 10");
  EXPECT_EQ(laid(column({text("aaaa bbbb cccc"), fixed(60, 30)}), {60.0, 50.0}),
            "60x50: 0 0 60 20, 0 20 60 30");
}

TEST(Layout, OnlyAFullScreenRootScrolls) {
  SornView root = fixed(200, 900);
  root.isSafe = true;
  root.rootType = documents::RootType::dialog;
  EXPECT_EQ(laid(root, {320.0, 480.0}), "200x900");
}

TEST(Layout, PaddingIsAMarginOutsideTheNode) {
  EXPECT_EQ(laid(column({padded(fixed(50, 30), {1, 2, 3, 4, 5}), text("ab")}), {300.0, ideal}),
            "54x56: 1 2 50 30, 0 36 20 20");
  EXPECT_DEATH(laid(padded(text("a"), {1, 2}), {300.0, ideal}), "padding");
  EXPECT_DEATH(laid(padded(text("a"), {}), {300.0, ideal}), "padding");
}

}  // namespace
}  // namespace sorn::layout::testing
