#include "view/SceneContent.h"

#include <algorithm>
#include <utility>

#include "draw/Canvas.h"

namespace sorn::view {

namespace {

// How far an area can scroll.
double rangeOf(const layout::ScrollArea& area) {
  return std::max(area.contentHeight - area.viewport.height, 0.0);
}

}  // namespace

SceneContent::SceneContent(std::shared_ptr<const Campaign> campaign, Surroundings surroundings,
                           ImageSource& images, std::shared_ptr<platform::MainQueue> mainQueue,
                           SceneObserver& observer)
    : campaign_(std::move(campaign)), surroundings_(std::move(surroundings)), observer_(observer) {
  prepare();
  loadImages(images, mainQueue);
  layOut();
  isMade_ = true;
}

void SceneContent::loadImages(ImageSource& images, const std::shared_ptr<platform::MainQueue>& mainQueue) {
  const auto& slots = wrapper_->images();
  states_.resize(slots.size());
  for (std::size_t slot = 0; slot < slots.size(); ++slot)
    views_.push_back(std::make_unique<draw::AsyncImageView>(
        images, mainQueue, slots[slot].url,
        [this, slot](const draw::AsyncImageView& view) { show(slot, view); }));
  for (const auto& view : views_) view->load();
}

// The texts take up the scale and the font for good.
void SceneContent::prepare() {
  wrapper_.reset();
  measure_.emplace(surroundings_.scale);
  wrapper_.emplace(*campaign_, *measure_, surroundings_.fontFamily);
  for (std::size_t slot = 0; slot < views_.size(); ++slot)
    if (const draw::Picture* picture = views_[slot]->picture()) wrapper_->setImageSize(slot, picture->size());
}

void SceneContent::layOut() {
  wrapper_->layOut(surroundings_.container, surroundings_.safeArea);
  makeList();
}

void SceneContent::makeList() {
  presented_ = wrapper_->presented();
  offsets_.resize(presented_.scrollAreas.size());
  for (std::size_t area = 0; area < offsets_.size(); ++area)
    offsets_[area] = std::min(offsets_[area], rangeOf(presented_.scrollAreas[area]));
}

void SceneContent::show(std::size_t slot, const draw::AsyncImageView& view) {
  states_[slot] = view.state();
  const bool isMoved = wrapper_->setImageSize(slot, view.picture()->size());
  if (!isMade_) return;
  if (!isMoved) return observer_.redraw();
  makeList();
  observer_.moved();
}

void SceneContent::setSurroundings(Surroundings surroundings) {
  const Surroundings before = std::exchange(surroundings_, std::move(surroundings));
  if (surroundings_ == before) return;
  const bool isOtherText =
      surroundings_.scale != before.scale || surroundings_.fontFamily != before.fontFamily;
  if (isOtherText) prepare();
  if (!isOtherText && surroundings_.container == before.container &&
      surroundings_.safeArea == before.safeArea)
    return observer_.redraw();
  layOut();
  observer_.moved();
}

Style SceneContent::style() const {
  using documents::RootType;
  switch (campaign_->content_metadata.type) {
    case RootType::fullscreen:
      return Style::fullscreen;
    case RootType::dialog:
      return Style::dialog;
    case RootType::top:
      return Style::top;
    case RootType::bottom:
      return Style::bottom;
  }
  return Style::fullscreen;
}

bool SceneContent::isLoading() const {
  return std::ranges::any_of(views_, [](const auto& view) { return view->isLoading(); });
}

void SceneContent::paintBackdrop(cairo_t* context, double opacity) const {
  draw::execute(wrapper_->backdrop(opacity), context, surroundings_.scale, {});
}

void SceneContent::paintPresented(cairo_t* context, const Moment& moment) const {
  const draw::Frame frame{states_, offsets_, moment.spinnerTurns};
  const bool isOnItsWay = wrapper_->isSheet() && moment.corners != 1;
  if (!isOnItsWay) return draw::execute(presented_, context, surroundings_.scale, frame);
  draw::execute(wrapper_->presented(moment.corners), context, surroundings_.scale, frame);
}

Point SceneContent::inPresented(Point point) const {
  const Rect& frame = wrapper_->presentedFrame();
  return {point.x - frame.x, point.y - frame.y};
}

Target SceneContent::targetOf(const layout::HitTarget& hit) const {
  const Rect& frame = wrapper_->presentedFrame();
  Target target{hit.kind, presented_.hits.frameOf(hit, offsets_).movedBy(frame.x, frame.y), hit.node, {}};
  for (const layout::NodeBox& box : wrapper_->nodes())
    if (hit.node && box.node == hit.node) target.path = layout::pathOf(wrapper_->nodes(), box);
  return target;
}

Target SceneContent::targetAt(Point point) const {
  if (const auto* hit = presented_.hits.at(inPresented(point), offsets_)) return targetOf(*hit);
  const layout::DisplayList backdrop = wrapper_->backdrop();
  if (const auto* hit = backdrop.hits.at(point)) return {hit->kind, hit->rect, nullptr, {}};
  return {};
}

std::vector<Target> SceneContent::targets() const {
  std::vector<Target> targets;
  const layout::DisplayList backdrop = wrapper_->backdrop();
  for (const auto& hit : backdrop.hits.targets()) targets.push_back({hit.kind, hit.rect, nullptr, {}});
  for (const auto& hit : presented_.hits.targets()) targets.push_back(targetOf(hit));
  return targets;
}

// Where the innermost part is at its end, the one around it goes on.
bool SceneContent::scroll(Point point, double by) {
  auto area = presented_.hits.areaAt(inPresented(point), offsets_);
  for (; area; area = presented_.hits.parentOf(*area)) {
    double& offset = offsets_[*area];
    const double before = offset;
    offset = std::clamp(before + by, 0.0, rangeOf(presented_.scrollAreas[*area]));
    if (offset == before) continue;
    observer_.redraw();
    return true;
  }
  return false;
}

}  // namespace sorn::view
