#include <gtest/gtest.h>

#include "layout/Commands.h"
#include "layout/Painter.h"
#include "layout/Views.h"

namespace sorn::layout::testing {
namespace {

using documents::Background;
using documents::BackgroundType;
using documents::GradientData;
using documents::GradientType;

DisplayList painted(SornView root, const SafeArea& area = {}) {
  Laid laid(std::move(root), {});
  placeCentered(laid.item(), area.safe == Rect() ? Rect{0, 0, 100, 100} : area.safe);
  DisplayList list;
  Painter(list, laid.tree(), area).paint();
  return list;
}

std::string commands(SornView root, const SafeArea& area = {}) {
  return CommandText::of(painted(std::move(root), area));
}

TEST(Painter, ABackgroundLiesBehindTheContentAndTheCornersCutBoth) {
  SornView root = colored(column({padded(colored(text("ab"), "#0F0"), {5, 5, 5, 5})}), "#F00");
  root.cornerRadius = {4, 8};
  EXPECT_EQ(commands(root),
            "clip 35 35 30 30 corners 4 8 0 0\n"
            "fill 35 35 30 30 #f00f\n"
            "fill 40 40 20 20 #0f0f\n"
            "text 40 40 20 20 ab\n"
            "end clip\n");
  root.cornerRadius = {0, 0, 0, 0};
  EXPECT_EQ(commands(root).substr(0, 5), "fill ");
}

TEST(Painter, OnlyAButtonHasABorderAndItIsDrawnOverTheCut) {
  SornView button = sized(testing::button(), 60, 20);
  button.cornerRadius = {6, 6, 6, 6};
  button.textData.emplace().text = "ab";
  button.buttonData.emplace().border = 2;
  EXPECT_EQ(commands(button).find("stroke"), std::string::npos);  // no colour: clear
  button.buttonData->borderBackground = Background{BackgroundType::image, "#00F", {}, {}};
  EXPECT_EQ(commands(button),
            "clip 20 40 60 20 corners 6 6 6 6\n"
            "text 40 40 20 20 ab\n"
            "end clip\n"
            "stroke 20 40 60 20 corners 6 6 6 6 2 #00ff\n");
  button.viewType = SornViewType::text;
  EXPECT_EQ(commands(button).find("stroke"), std::string::npos);
}

TEST(Painter, GradientsRunAsTheirTypeSays) {
  const auto gradient = [](GradientType type, std::vector<std::string> colors) {
    SornView node = fixed(80, 40);
    node.background = Background{BackgroundType::gradient, {}, GradientData{std::move(colors), type, {}}, {}};
    return commands(node);
  };
  for (const auto type : {GradientType::linear, GradientType::horizontal, GradientType::sweep})
    EXPECT_EQ(gradient(type, {"F00", "00F"}), "fill 10 30 80 40 linear 10,50 to 90,50 #f00f #00ff\n");
  EXPECT_EQ(gradient(GradientType::vertical, {"F00", "00F"}),
            "fill 10 30 80 40 linear 50,30 to 50,70 #f00f #00ff\n");
  EXPECT_EQ(gradient(GradientType::radial, {"F00", "0F0", "00F"}),
            "fill 10 30 80 40 radial 50,50 20 #f00f #0f0f #00ff\n");
  EXPECT_EQ(gradient(GradientType::linear, {"F00"}), "fill 10 30 80 40 #f00f\n");
  EXPECT_EQ(gradient(GradientType::linear, {}), "");
}

TEST(Painter, ABackgroundReadsOnlyTheKeyOfItsType) {
  SornView node = fixed(80, 40);
  node.background =
      Background{BackgroundType::gradient, "F00", {}, documents::ImageData{"a.png", {}, {}, {}}};
  EXPECT_EQ(commands(node), "");
  node.background->backgroundType = BackgroundType::image;
  EXPECT_EQ(commands(node), "image 0 10 30 80 40 fit\n");
  node.background->backgroundType = BackgroundType::color;
  EXPECT_EQ(commands(node), "fill 10 30 80 40 #f00f\n");
}

TEST(Painter, ABackgroundAtTheSafeAreasEdgeGoesOnBelowIt) {
  const SafeArea area{{0, 0, 100, 120}, {0, 20, 100, 80}};
  SornView root = colored(column({}), "F00");
  root.isSpacer = true;
  EXPECT_EQ(commands(root, area), "fill 0 0 100 120 #f00f\n");
  root.cornerRadius = {8};
  EXPECT_EQ(commands(root, area).substr(0, 29), "clip 0 20 100 80 corners 8 0 ");
  EXPECT_EQ(commands(colored(sized(column({}), 100, 78), "F00"), area), "fill 0 21 100 78 #f00f\n");
}

TEST(Painter, WhatScrollsIsPaintedWholeAndItsButtonsMoveWithIt) {
  SornView button = sized(testing::button(), 50, 30);
  SornView root = padded(column({fixed(50, 300), button}), {0, 10, 0, 10});
  root.isSafe = true;
  root.rootType = documents::RootType::fullscreen;
  const DisplayList list = painted(root);
  EXPECT_EQ(CommandText::of(list), "scroll 0\nend scroll\n");
  ASSERT_EQ(list.scrollAreas.size(), 1U);
  EXPECT_EQ(list.scrollAreas[0].viewport, (Rect{25, 0, 50, 100}));
  EXPECT_EQ(list.scrollAreas[0].contentHeight, 350);
  const double offset[] = {250};
  EXPECT_EQ(list.hits.at({50, 70}), nullptr);
  ASSERT_NE(list.hits.at({50, 70}, offset), nullptr);
  EXPECT_EQ(list.hits.at({50, 70}, offset)->kind, HitTarget::Kind::button);
}

}  // namespace
}  // namespace sorn::layout::testing
