#include "layout/SornViewWrapper.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "layout/Frames.h"
#include "layout/Stack.h"

namespace sorn::layout {

using documents::RootType;

namespace {

constexpr double defaultPadding = 16;
constexpr double dialogMargin = 28;
constexpr double pullBarPadding = 32;
constexpr double closeButtonSize = 32;
// The cross in it: half of its extent, and its stroke, as a symbol of a 15 point font has them.
constexpr double crossReach = 4.75;
constexpr double crossWidth = 1.5;
constexpr Color closeButtonShadow{0, 0, 0, 0.05};
constexpr double closeButtonShadowRadius = 2;
constexpr Color pullBarColor{120 / 255.0, 120 / 255.0, 128 / 255.0, 0.20};
constexpr Color hostColor = white;

}  // namespace

SornViewWrapper::SornViewWrapper(const documents::SornInAppCampaign& campaign, TextMeasure& measure,
                                 std::optional<std::string> customFontFamily)
    : campaign_(campaign),
      sheet_(SornSheetConfiguration::of(campaign)),
      tree_(campaign.content, type(), measure, std::move(customFontFamily)),
      root_(makeRoot()) {}

bool SornViewWrapper::isSheet() const { return type() == RootType::top || type() == RootType::bottom; }

std::unique_ptr<LayoutItem> SornViewWrapper::makeRoot() {
  auto content = tree_.takeRoot();
  if (type() == RootType::fullscreen)
    return withCloseButton(std::move(content), {0, 0, defaultPadding, 0}, {});
  if (type() == RootType::dialog) {
    // Half of the button lies outside the corner.
    content = withCloseButton(std::make_unique<IdealHeight>(std::move(content)), {},
                              {closeButtonSize / 2, -closeButtonSize / 2});
    std::vector<std::unique_ptr<LayoutItem>> layers;
    layers.push_back(std::make_unique<ShapeLeaf>());
    layers.push_back(std::make_unique<Padding>(std::move(content), Insets{dialogMargin, 0, dialogMargin, 0}));
    return std::make_unique<LayerStack>(std::move(layers));
  }
  const bool isTop = type() == RootType::top;
  const Insets room{0, isTop ? defaultPadding : pullBarPadding, 0, isTop ? pullBarPadding : defaultPadding};
  auto padded = std::make_unique<Padding>(std::move(content), room);
  padded_ = padded.get();
  return padded;
}

std::unique_ptr<LayoutItem> SornViewWrapper::withCloseButton(std::unique_ptr<LayoutItem> content,
                                                             Insets margin, Point offset) {
  if (!campaign_.content_metadata.show_close_button) return content;
  auto button = std::make_unique<FixedFrame>(std::make_unique<ShapeLeaf>(), closeButtonSize, closeButtonSize,
                                             Placement::center);
  closeButton_ = button.get();
  auto inset = std::make_unique<Padding>(std::move(button), margin);
  return std::make_unique<Overlay>(std::move(content), std::move(inset), Placement::topTrailing, offset);
}

void SornViewWrapper::layOut(Size surface, const Insets& safeArea) {
  surface_ = surface;
  safeArea_ = safeArea;
  place();
}

void SornViewWrapper::place() {
  host_ = {0, 0, surface_.width, surface_.height};
  if (isSheet()) {
    const Insets insets = hostInsets();
    const double width = std::max(surface_.width - insets.leading - insets.trailing, 0.0);
    // A top sheet gets the room under the device's edge on top of what its content needs.
    const double covered = sheet_.mode == SornSheetConfiguration::Mode::top ? 0 : insets.top + insets.bottom;
    const double fit = std::ceil(root_->sizeFor({width, std::nullopt}).height + covered);
    host_ = sheetFrame(sheet_.mode, fit, surface_, safeArea_);
  }
  placeCentered(*root_, safeRect());
}

// What the host keeps free at its edges: what the device covers there, and the room of a pull bar.
Insets SornViewWrapper::hostInsets() const {
  Insets insets = safeArea_;
  if (type() == RootType::top) insets.bottom = 0;
  if (type() == RootType::bottom) insets.top = pullBarInset(sheet_);
  return insets;
}

Rect SornViewWrapper::safeRect() const {
  const Insets insets = hostInsets();
  return {insets.leading, insets.top, std::max(host_.width - insets.leading - insets.trailing, 0.0),
          std::max(host_.height - insets.top - insets.bottom, 0.0)};
}

bool SornViewWrapper::setImageSize(std::size_t slot, Size size) {
  const bool isChanged = tree_.setImageSize(slot, size);
  if (isChanged) place();
  return isChanged;
}

DisplayList SornViewWrapper::backdrop(double opacity) const {
  DisplayList list;
  list.size = surface_;
  if (type() == RootType::fullscreen) return list;
  const Rect surface{0, 0, surface_.width, surface_.height};
  Color color = sheet_.backgroundColor;
  color.alpha *= opacity;
  list.commands.emplace_back(FillShape{{surface, {}}, color});
  list.hits.add({HitTarget::Kind::outside, surface, nullptr, {}});
  return list;
}

DisplayList SornViewWrapper::presented(double corners) const {
  DisplayList list;
  list.size = host_.size();
  list.images = tree_.images();
  Painter painter(list, tree_, {bounds(), safeRect()});
  paintHost(list, painter, corners);
  if (closeButton_) paintCloseButton(list);
  return list;
}

void SornViewWrapper::paintHost(DisplayList& list, Painter& painter, double corners) const {
  if (type() == RootType::dialog) {
    if (!tree_.nodes().empty())
      list.hits.add({HitTarget::Kind::content, tree_.nodes()[0].box->frame(), nullptr, {}});
    return painter.paint();
  }
  list.hits.add({HitTarget::Kind::content, bounds(), nullptr, {}});
  if (isSheet()) list.commands.emplace_back(BeginClip{{bounds(), sheet_.freeCorners(corners)}});
  list.commands.emplace_back(FillShape{{bounds(), {}}, hostColor});
  if (isSheet() && !tree_.nodes().empty()) painter.paintBackground(tree_.nodes()[0], padded_->frame());
  painter.paint();
  if (!isSheet()) return;
  if (sheet_.showPullBar) {
    const Rect bar = pullBarFrame(sheet_.mode, bounds());
    list.commands.emplace_back(FillShape{{bar, RoundedCorners::all(bar.height / 2)}, pullBarColor});
  }
  list.commands.emplace_back(EndClip{});
}

void SornViewWrapper::paintCloseButton(DisplayList& list) const {
  const Rect frame = closeButton_->frame();
  const Shape circle{frame, RoundedCorners::all(frame.width / 2)};
  list.commands.emplace_back(DrawShadow{circle, closeButtonShadow, closeButtonShadowRadius});
  list.commands.emplace_back(FillShape{circle, white});
  const Point middle{frame.x + frame.width / 2, frame.y + frame.height / 2};
  for (const double side : {-1.0, 1.0}) {
    const double reach = crossReach * side;
    list.commands.emplace_back(DrawLine{{middle.x - reach, middle.y - crossReach},
                                        {middle.x + reach, middle.y + crossReach},
                                        crossWidth,
                                        black});
  }
  list.hits.add({HitTarget::Kind::closeButton, frame, nullptr, {}});
}

}  // namespace sorn::layout
