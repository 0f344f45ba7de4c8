#include <memory>
#include <optional>
#include <string>

#include <gtest/gtest.h>

#include "draw/AsyncImageView.h"
#include "draw/HeldPictures.h"
#include "draw/TestPictures.h"

namespace sorn::draw {
namespace {

class ImageView : public ::testing::Test {
 protected:
  // A view that has begun to load.
  std::unique_ptr<AsyncImageView> view(std::optional<std::string> url) {
    auto view = std::make_unique<AsyncImageView>(source_, queue_, std::move(url),
                                                 [this](const AsyncImageView&) { ++redraws_; });
    view->load();
    return view;
  }

  HeldSource source_;
  std::shared_ptr<HeldQueue> queue_ = std::make_shared<HeldQueue>();
  int redraws_ = 0;
};

TEST_F(ImageView, SpinsUntilThePictureIsThere) {
  const auto shown = view("a");
  EXPECT_TRUE(shown->isLoading());
  EXPECT_EQ(shown->nativeAspectRatio(), std::nullopt);
  source_.open.at("a")(pngOfStripes(90, 30, {red}));
  EXPECT_EQ(redraws_, 0);  // decoded, but only the main queue touches the view
  queue_->run();
  EXPECT_EQ(redraws_, 1);
  EXPECT_FALSE(shown->isLoading());
  EXPECT_EQ(shown->nativeAspectRatio(), 3);
}

TEST_F(ImageView, WhatCannotBeShownIsThePlaceholder) {
  EXPECT_EQ(view(std::nullopt)->picture(), brokenPicture().get());
  EXPECT_TRUE(source_.open.empty());
  for (const std::optional<std::string>& answer : {std::optional<std::string>(), {"<html>404</html>"}}) {
    const auto broken = view("a");
    source_.open.at("a")(answer);
    queue_->run();
    EXPECT_EQ(broken->picture(), brokenPicture().get());
    EXPECT_EQ(broken->nativeAspectRatio(), 1);
  }
  EXPECT_EQ(redraws_, 3);
}

TEST_F(ImageView, AnEndDuringALoadTouchesNothing) {
  auto ending = view("a");
  source_.open.at("a")(pngOfStripes(9, 3, {red}));
  ending.reset();
  EXPECT_EQ(source_.ended, 1);
  queue_->run();
  EXPECT_EQ(redraws_, 0);
}

TEST_F(ImageView, AnotherAddressTakesThePlaceOfALoadThatIsUnderWay) {
  const auto shown = view("a");
  shown->update("b");
  EXPECT_EQ(source_.ended, 1);
  source_.open.at("a")(pngOfStripes(90, 30, {red}));
  queue_->run();
  EXPECT_TRUE(shown->isLoading());
  source_.open.at("b")(pngOfStripes(20, 10, {red}));
  queue_->run();
  EXPECT_EQ(shown->nativeAspectRatio(), 2);
}

}  // namespace
}  // namespace sorn::draw
