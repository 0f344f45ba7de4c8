#include "layout/Modifiers.h"

#include <algorithm>
#include <limits>

namespace sorn::layout {

namespace {

std::optional<double> shortened(std::optional<double> length, double by) {
  return length ? std::optional(std::max(*length - by, 0.0)) : std::nullopt;
}

}  // namespace

AspectRatioBox::AspectRatioBox(std::unique_ptr<LayoutItem> content, double ratio)
    : Modifier(std::move(content)), ratio_(ratio) {}

Proposal AspectRatioBox::inner(const Proposal& proposal) const {
  if (!proposal.width && !proposal.height) return proposal;
  constexpr double infinity = std::numeric_limits<double>::infinity();
  const double height =
      std::min(proposal.width.value_or(infinity) / ratio_, proposal.height.value_or(infinity));
  return {ratio_ * height, height};
}

Size AspectRatioBox::answer(const Proposal& proposal) { return content().sizeFor(inner(proposal)); }

void AspectRatioBox::placeContent(const Proposal& proposal) {
  content().place(inner(proposal), frame().origin());
}

Size IdealHeight::answer(const Proposal& proposal) {
  return content().sizeFor({proposal.width, std::nullopt});
}

void IdealHeight::placeContent(const Proposal& proposal) {
  content().place({proposal.width, std::nullopt}, frame().origin());
}

Padding::Padding(std::unique_ptr<LayoutItem> content, Insets insets)
    : Modifier(std::move(content)), insets_(insets) {}

Proposal Padding::inner(const Proposal& proposal) const {
  return {shortened(proposal.width, insets_.leading + insets_.trailing),
          shortened(proposal.height, insets_.top + insets_.bottom)};
}

Size Padding::answer(const Proposal& proposal) {
  const Size size = content().sizeFor(inner(proposal));
  return {std::max(size.width + insets_.leading + insets_.trailing, 0.0),
          std::max(size.height + insets_.top + insets_.bottom, 0.0)};
}

void Padding::placeContent(const Proposal& proposal) {
  content().place(inner(proposal), {frame().x + insets_.leading, frame().y + insets_.top});
}

Size VerticalScroll::answer(const Proposal& proposal) {
  const Size size = content().sizeFor({proposal.width, std::nullopt});
  return {size.width, proposal.height.value_or(size.height)};
}

void VerticalScroll::placeContent(const Proposal& proposal) {
  content().place({proposal.width, std::nullopt}, frame().origin());
}

Overlay::Overlay(std::unique_ptr<LayoutItem> content, std::unique_ptr<LayoutItem> overlay,
                 Placement placement, Point offset)
    : Modifier(std::move(content)), overlay_(std::move(overlay)), placement_(placement), offset_(offset) {
  overlay_->setParent(this);
}

Size Overlay::answer(const Proposal& proposal) { return content().sizeFor(proposal); }

void Overlay::placeContent(const Proposal& proposal) {
  content().place(proposal, frame().origin());
  const Proposal own{frame().width, frame().height};
  const Rect rect = placed(overlay_->sizeFor(own), frame(), placement_).movedBy(offset_.x, offset_.y);
  overlay_->place(own, rect.origin());
}

}  // namespace sorn::layout
