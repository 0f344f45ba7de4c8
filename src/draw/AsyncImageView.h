#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "draw/Canvas.h"
#include "sorn/platform/MainQueue.h"
#include "sorn/view/ImageSource.h"

namespace sorn::draw {

// One view of a picture: a spinner while it is fetched, then the picture, or the placeholder when there is no
// address, no answer, or nothing that can be decoded. Belongs to the main queue; decoding is done elsewhere.
class AsyncImageView {
 public:
  // `requestRedraw` runs on the main queue each time another picture is there to be drawn.
  // The source outlives the view.
  AsyncImageView(view::ImageSource& source, std::shared_ptr<platform::MainQueue> mainQueue,
                 std::optional<std::string> url, std::function<void(const AsyncImageView&)> requestRedraw);
  // Ends a load; nothing is called any more.
  ~AsyncImageView();
  AsyncImageView(const AsyncImageView&) = delete;
  AsyncImageView& operator=(const AsyncImageView&) = delete;

  // Begins to load. Without an address the placeholder is there at once.
  void load();
  // Shows another address instead.
  void update(std::optional<std::string> url);

  const std::optional<std::string>& url() const { return url_; }
  const ImageState& state() const { return state_; }
  bool isLoading() const { return std::holds_alternative<Loading>(state_); }
  // What is shown, the placeholder included; null while loading.
  const Picture* picture() const;
  // Width over height of what is shown; absent until something is.
  std::optional<double> nativeAspectRatio() const;

 private:
  void show(std::shared_ptr<const Picture> picture);

  view::ImageSource& source_;
  std::shared_ptr<platform::MainQueue> mainQueue_;
  std::optional<std::string> url_;
  std::function<void(const AsyncImageView&)> requestRedraw_;
  ImageState state_;
  // Held weakly by a load that is under way; another load begins with another one.
  std::shared_ptr<AsyncImageView*> self_;
  std::unique_ptr<view::ImageSource::Fetch> fetch_;
};

}  // namespace sorn::draw
