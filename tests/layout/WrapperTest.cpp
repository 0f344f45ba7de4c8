#include <gtest/gtest.h>

#include "layout/Commands.h"
#include "layout/SornViewWrapper.h"
#include "layout/Views.h"

namespace sorn::layout::testing {
namespace {

using documents::RootType;
using documents::SornInAppCampaign;
using Kind = HitTarget::Kind;

SornInAppCampaign campaign(RootType type, SornView content) {
  SornInAppCampaign document;
  document.content = std::move(content);
  document.content_metadata = {type, "#00000080", true, true};
  return document;
}

class Wrapper : public ::testing::Test {
 protected:
  // The commands of the presented view, in its own coordinates.
  std::string commands(SornInAppCampaign document, Size surface, const Insets& safeArea = {}) {
    document_ = std::move(document);
    wrapper_ = std::make_unique<SornViewWrapper>(document_, metric_);
    wrapper_->layOut(surface, safeArea);
    list_ = wrapper_->presented();
    return CommandText::of(list_);
  }

  tool::FixedMetric metric_{10, 20};
  SornInAppCampaign document_;
  std::unique_ptr<SornViewWrapper> wrapper_;
  DisplayList list_;
};

TEST_F(Wrapper, ADialogLiesInTheMiddleWithTheCloseButtonOverItsCorner) {
  SornInAppCampaign document = campaign(RootType::dialog, sized(image(), -1, 180));
  EXPECT_EQ(commands(document, {376, 800}),
            "image 0 28 310 320 180 fit\n"
            "shadow 332 294 32 32 corners 16 16 16 16\n"
            "fill 332 294 32 32 corners 16 16 16 16 #ffff\n"
            "line 352.75,305.25 to 343.25,314.75\n"
            "line 343.25,305.25 to 352.75,314.75\n");
  EXPECT_EQ(CommandText::of(wrapper_->backdrop()), "fill 0 0 376 800 #0008\n");
  EXPECT_EQ(CommandText::of(wrapper_->backdrop(0.5)), "fill 0 0 376 800 #0004\n");
  EXPECT_EQ(list_.hits.at({10, 10}), nullptr);
  EXPECT_EQ(wrapper_->backdrop().hits.at({10, 10})->kind, Kind::outside);
  EXPECT_EQ(list_.hits.at({100, 320})->kind, Kind::content);
  EXPECT_EQ(list_.hits.at({345, 320})->kind, Kind::closeButton);
  document.content_metadata.show_close_button = false;
  EXPECT_EQ(commands(document, {376, 800}), "image 0 28 310 320 180 fit\n");
}

TEST_F(Wrapper, AFullScreenCampaignKeepsItsContentOffTheCoveredEdges) {
  SornView root = colored(text("ab"), "F00");
  root.isSpacer = true;
  EXPECT_EQ(commands(campaign(RootType::fullscreen, root), {300, 400}, {0, 30, 0, 20}),
            "fill 0 0 300 400 #ffff\n"
            "fill 0 0 300 400 #f00f\n"
            "text 0 195 20 20 ab\n"
            "shadow 252 30 32 32 corners 16 16 16 16\n"
            "fill 252 30 32 32 corners 16 16 16 16 #ffff\n"
            "line 272.75,41.25 to 263.25,50.75\n"
            "line 263.25,41.25 to 272.75,50.75\n");
  EXPECT_EQ(list_.hits.at({10, 10})->kind, Kind::content);
  EXPECT_EQ(CommandText::of(wrapper_->backdrop()), "");
}

TEST_F(Wrapper, ASheetIsAsHighAsItsContentWithRoomForThePullBar) {
  SornView root = colored(fixed(300, 100), "F00");
  EXPECT_EQ(commands(campaign(RootType::bottom, root), {300, 600}),
            "clip 0 0 300 184 corners 16 16 0 0\n"  // 36 for the bar, 32 + 100 + 16
            "fill 0 0 300 184 #ffff\n"
            "fill 0 0 300 184 #f00f\n"
            "fill 0 68 300 100 #f00f\n"
            "fill 120 16 60 4 corners 2 2 2 2 #7783\n"
            "end clip\n");
  EXPECT_EQ(wrapper_->presentedFrame(), (Rect{0, 416, 300, 184}));
  EXPECT_EQ(CommandText::of(wrapper_->presented(0.25)).substr(0, 31), "clip 0 0 300 184 corners 4 4 0 ");
  root.cornerRadius = {4, 24, 8};
  EXPECT_EQ(commands(campaign(RootType::top, root), {300, 600}),
            "clip 0 0 300 148 corners 0 0 24 24\n"
            "fill 0 0 300 148 #ffff\n"
            "fill 0 0 300 148 #f00f\n"
            "clip 0 16 300 100 corners 4 24 8 0\n"
            "fill 0 16 300 100 #f00f\n"
            "end clip\n"
            "fill 120 132 60 4 corners 2 2 2 2 #7783\n"
            "end clip\n");
  EXPECT_EQ(list_.hits.at({150, 200}), nullptr);
  EXPECT_EQ(list_.hits.at({150, 140})->kind, Kind::content);
}

TEST_F(Wrapper, ASheetStaysWithinTheSafeArea) {
  const Insets insets{0, 40, 0, 20};
  using Mode = SornSheetConfiguration::Mode;
  EXPECT_EQ(sheetFrame(Mode::bottom, 2000, {300, 600}, insets), (Rect{0, 60, 300, 540}));
  EXPECT_EQ(sheetFrame(Mode::bottom, 0, {300, 600}, insets), (Rect{0, 60, 300, 540}));
  EXPECT_EQ(sheetFrame(Mode::top, 540, {300, 600}, insets), (Rect{0, 0, 300, 580}));
  EXPECT_EQ(sheetFrame(Mode::top, 100, {300, 600}, insets), (Rect{0, 0, 300, 140}));
  commands(campaign(RootType::top, fixed(300, 100)), {300, 600}, insets);
  EXPECT_EQ(wrapper_->presentedFrame(), (Rect{0, 0, 300, 188}));
  EXPECT_EQ(wrapper_->nodes()[0].box->frame(), (Rect{0, 56, 300, 100}));
}

TEST_F(Wrapper, APictureThatComesMakesASheetGrow) {
  commands(campaign(RootType::bottom, image()), {300, 600});
  EXPECT_EQ(wrapper_->presentedFrame().height, 84);
  EXPECT_TRUE(wrapper_->setImageSize(0, {300, 200}));
  EXPECT_EQ(wrapper_->presentedFrame().height, 284);
  EXPECT_EQ(wrapper_->nodes()[0].box->frame(), (Rect{0, 68, 300, 200}));
}

}  // namespace
}  // namespace sorn::layout::testing
