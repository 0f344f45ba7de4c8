#include <memory>
#include <string>

#include <cairo.h>
#include <gtest/gtest.h>

#include "documents/SornInAppCampaign.h"
#include "draw/Canvas.h"
#include "draw/HeldPictures.h"
#include "draw/TestPictures.h"
#include "layout/Views.h"
#include "sorn/view/CampaignScene.h"

namespace sorn::view {
namespace {

using documents::RootType;
using documents::SornView;
using Kind = Target::Kind;
using namespace layout::testing;

class Scene : public ::testing::Test, public SceneObserver {
 protected:
  void redraw() override {
    signals_ += "redraw ";
    if (endsInSignal_) scene_.reset();
  }
  void moved() override {
    signals_ += "moved ";
    if (endsInSignal_) scene_.reset();
  }

  void show(RootType type, SornView content, Surroundings surroundings = {{300, 600}}) {
    auto campaign = std::make_shared<Campaign>();
    campaign->content = std::move(content);
    campaign->content_metadata = {type, "#0000FF80", true, true};
    campaign_ = campaign;
    scene_ = std::make_unique<CampaignScene>(campaign_, surroundings, source_, queue_, *this);
  }
  // The picture of 300 by 200 pixels that every node asks for.
  void answer() {
    source_.open.begin()->second(draw::pngOfStripes(300, 200, {draw::red}));
    queue_->run();
  }
  std::string signals() { return std::exchange(signals_, {}); }
  Kind kindAt(double x, double y) const { return scene_->targetAt({x, y}).kind; }
  draw::Pixels painted(double scale, const std::function<void(cairo_t*)>& paint) const {
    return draw::renderToPixels(scene_->surroundings().container, scale, paint);
  }
  draw::Pixels painted(double scale = 1) const {
    return painted(scale, [&](cairo_t* context) { scene_->paint(context); });
  }

  draw::HeldSource source_;
  std::shared_ptr<draw::HeldQueue> queue_ = std::make_shared<draw::HeldQueue>();
  std::shared_ptr<const Campaign> campaign_;
  std::unique_ptr<CampaignScene> scene_;
  std::string signals_;
  bool endsInSignal_ = false;
};

TEST_F(Scene, APictureMovesASheetThatGrowsAndNothingThatHasItsPlace) {
  show(RootType::bottom, image());
  EXPECT_EQ(scene_->presentedFrame(), (Rect{0, 516, 300, 84}));
  EXPECT_TRUE(scene_->isLoading());
  answer();
  EXPECT_EQ(signals(), "moved ");
  EXPECT_FALSE(scene_->isLoading());
  EXPECT_EQ(scene_->presentedFrame(), (Rect{0, 316, 300, 284}));
  EXPECT_EQ(painted().at(150, 400), draw::redPixel);

  show(RootType::bottom, sized(image(), 300, 200));
  answer();
  EXPECT_EQ(signals(), "redraw ");
  SornView noAddress = image();
  noAddress.imageData->url = "";
  show(RootType::bottom, noAddress);  // the placeholder is there at once, and nobody is told
  EXPECT_EQ(signals(), "");
  EXPECT_EQ(scene_->presentedFrame().height, 84 + 64);
}

TEST_F(Scene, EndsAtAnyTime) {
  show(RootType::bottom, image());
  source_.open.begin()->second(draw::pngOfStripes(9, 3, {draw::red}));
  scene_.reset();
  queue_->run();
  EXPECT_EQ(signals(), "");
  for (const bool isSet : {true, false}) {
    endsInSignal_ = true;
    show(RootType::fullscreen, isSet ? sized(image(), 10, 10) : image());
    answer();
    EXPECT_EQ(scene_, nullptr);
  }
}

TEST_F(Scene, ATapIsToldInTheContainersPoints) {
  SornView button = sized(layout::testing::button(), 100, 50);
  show(RootType::bottom, column({fixed(300, 30), row({fixed(20, 50), button})}));
  EXPECT_EQ(scene_->presentedFrame(), (Rect{0, 436, 300, 164}));  // 36 + 32 + 80 + 16
  EXPECT_EQ(kindAt(150, 435), Kind::outside);
  EXPECT_EQ(kindAt(150, 440), Kind::content);
  const Target hit = scene_->targetAt({50, 540});
  EXPECT_EQ(hit.kind, Kind::button);
  EXPECT_EQ(hit.frame, (Rect{20, 534, 100, 50}));
  EXPECT_EQ(hit.path, "content.children[1].children[1]");
  EXPECT_EQ(hit.node, &campaign_->content.children[1].children[1]);
  ASSERT_EQ(scene_->targets().size(), 3U);
  EXPECT_EQ(scene_->targets()[2].frame, hit.frame);

  show(RootType::dialog, fixed(100, 100));
  EXPECT_EQ(kindAt(10, 10), Kind::outside);
  EXPECT_EQ(kindAt(150, 300), Kind::content);
  EXPECT_EQ(kindAt(200, 250), Kind::closeButton);
  EXPECT_EQ(kindAt(-1, 10), Kind::nothing);
}

TEST_F(Scene, AFullScreenCampaignScrollsToItsEnds) {
  SornView root = column({fixed(300, 700), sized(layout::testing::button(), 300, 100)});
  root.isSafe = true;
  show(RootType::fullscreen, root);
  const Point middle{150, 300};
  EXPECT_FALSE(scene_->scroll(middle, -10));
  EXPECT_EQ(kindAt(150, 550), Kind::content);
  EXPECT_TRUE(scene_->scroll(middle, 1000));
  EXPECT_FALSE(scene_->scroll(middle, 1));
  EXPECT_EQ(signals(), "redraw ");
  EXPECT_EQ(scene_->targetAt({150, 550}).frame, (Rect{0, 500, 300, 100}));
  EXPECT_FALSE(scene_->scroll({400, 300}, -10));
  scene_->setSurroundings({{300, 750}});  // less remains below
  EXPECT_EQ(scene_->targetAt({150, 700}).frame, (Rect{0, 650, 300, 100}));
  show(RootType::dialog, root);
  EXPECT_FALSE(scene_->scroll(middle, 10));
}

TEST_F(Scene, OtherSurroundingsMoveWhatDependsOnThem) {
  show(RootType::top, column({text("ab"), image()}), {{300, 600}, {}, 1, Appearance::light, "Inter"});
  answer();
  const Node* const first = &campaign_->content;
  const double height = scene_->presentedFrame().height;
  signals();
  Surroundings surroundings = scene_->surroundings();
  const auto told = [&] {
    scene_->setSurroundings(surroundings);
    return signals();
  };
  EXPECT_EQ(told(), "");
  surroundings.appearance = Appearance::dark;
  EXPECT_EQ(told(), "redraw ");
  surroundings.safeArea.top = 40;
  EXPECT_EQ(told(), "moved ");
  EXPECT_EQ(scene_->presentedFrame().height, height + 40);
  surroundings.scale = 2;  // texts are measured anew, pictures stay
  EXPECT_EQ(told(), "moved ");
  EXPECT_FALSE(scene_->isLoading());
  EXPECT_NEAR(scene_->presentedFrame().height, height + 40, 1);
  EXPECT_EQ(painted(2).at(300, 300), draw::redPixel);
  EXPECT_EQ(first, &campaign_->content);
}

TEST_F(Scene, TheTwoViewsArePaintedApartAndTogether) {
  show(RootType::bottom, colored(fixed(300, 100), "#F00"), {{300, 400.3}});
  EXPECT_EQ(scene_->cornerRadius(), 16);
  const auto backdrop = painted(1, [&](cairo_t* context) { scene_->paintBackdrop(context, 0.5); });
  EXPECT_EQ(backdrop.at(0, 399), 0x40000040U);
  const auto presented = painted(1, [&](cairo_t* context) { scene_->paintPresented(context, {0, 0}); });
  EXPECT_EQ(presented.at(0, 0), draw::redPixel);  // no corners yet
  EXPECT_EQ(presented.at(0, 183), draw::redPixel);
  EXPECT_EQ(presented.at(0, 184), 0U);
  const auto both = painted();
  EXPECT_EQ(both.at(0, 216), 0x80000080U);  // a corner, with the backdrop in it
  EXPECT_EQ(both.at(150, 215), 0x80000080U);
  EXPECT_EQ(both.at(150, 216), draw::redPixel);  // 400.3 less 184, on a pixel
}

}  // namespace
}  // namespace sorn::view
