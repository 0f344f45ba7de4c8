#include "draw/AsyncImageView.h"

#include <utility>

#include "draw/Picture.h"

namespace sorn::draw {

AsyncImageView::AsyncImageView(view::ImageSource& source, std::shared_ptr<platform::MainQueue> mainQueue,
                               std::optional<std::string> url,
                               std::function<void(const AsyncImageView&)> requestRedraw)
    : source_(source),
      mainQueue_(std::move(mainQueue)),
      url_(std::move(url)),
      requestRedraw_(std::move(requestRedraw)) {}

AsyncImageView::~AsyncImageView() = default;

void AsyncImageView::load() {
  if (!url_) return show(nullptr);
  state_ = Loading{};
  self_ = std::make_shared<AsyncImageView*>(this);
  fetch_ = source_.fetch(*url_,
                         [queue = mainQueue_, weak = std::weak_ptr(self_)](std::optional<std::string> bytes) {
                           auto picture = bytes ? decodePicture(*bytes) : nullptr;
                           queue->post([weak, picture = std::move(picture)] {
                             if (const auto self = weak.lock()) (*self)->show(picture);
                           });
                         });
}

void AsyncImageView::update(std::optional<std::string> url) {
  url_ = std::move(url);
  load();
}

void AsyncImageView::show(std::shared_ptr<const Picture> picture) {
  fetch_.reset();
  self_.reset();
  state_ = picture ? std::move(picture) : brokenPicture();
  const auto requestRedraw = requestRedraw_;  // the view may end in it
  requestRedraw(*this);
}

const Picture* AsyncImageView::picture() const {
  const auto* shown = std::get_if<std::shared_ptr<const Picture>>(&state_);
  return shown ? shown->get() : nullptr;
}

std::optional<double> AsyncImageView::nativeAspectRatio() const {
  const Picture* shown = picture();
  if (!shown || shown->size().height <= 0) return std::nullopt;
  return shown->size().width / shown->size().height;
}

}  // namespace sorn::draw
