#include "layout/Frames.h"

#include <algorithm>

namespace sorn::layout {

namespace {

using Length = std::optional<double>;

// What a frame with the greatest length `most` offers its content.
Length offeredInside(Length proposed, Length most) {
  return proposed && most ? std::min(*proposed, *most) : proposed;
}

// How long that frame is around a content of this length.
double lengthAround(double content, Length proposed, Length most) {
  if (!most) return content;
  if (!proposed) return std::min(content, *most);
  return std::min(std::max(std::min(*proposed, *most), content), *most);
}

// What the content is offered in the end: the frame's own length where one was offered, its ideal where none
// was, unless the frame had to cut it.
Length finalInside(Length proposed, Length most, double frame, double content) {
  const bool isCut = most && content > *most;
  return proposed || isCut ? Length(frame) : std::nullopt;
}

}  // namespace

FixedFrame::FixedFrame(std::unique_ptr<LayoutItem> content, Length width, Length height, Placement placement)
    : Modifier(std::move(content)), width_(width), height_(height), placement_(placement) {}

Proposal FixedFrame::inner(const Proposal& proposal) const {
  return {width_ ? width_ : proposal.width, height_ ? height_ : proposal.height};
}

Size FixedFrame::answer(const Proposal& proposal) {
  const Size size = content().sizeFor(inner(proposal));
  return {width_.value_or(size.width), height_.value_or(size.height)};
}

void FixedFrame::placeContent(const Proposal& proposal) {
  const Proposal offered = inner(proposal);
  content().place(offered, placed(content().sizeFor(offered), frame(), placement_).origin());
}

FlexibleFrame::FlexibleFrame(std::unique_ptr<LayoutItem> content, Length maxWidth, Length maxHeight,
                             Placement placement)
    : Modifier(std::move(content)), maxWidth_(maxWidth), maxHeight_(maxHeight), placement_(placement) {}

Proposal FlexibleFrame::inner(const Proposal& proposal) const {
  return {offeredInside(proposal.width, maxWidth_), offeredInside(proposal.height, maxHeight_)};
}

Size FlexibleFrame::answer(const Proposal& proposal) {
  const Size size = content().sizeFor(inner(proposal));
  return {lengthAround(size.width, proposal.width, maxWidth_),
          lengthAround(size.height, proposal.height, maxHeight_)};
}

void FlexibleFrame::placeContent(const Proposal& proposal) {
  const Size measured = content().sizeFor(inner(proposal));
  const Proposal offered{finalInside(proposal.width, maxWidth_, frame().width, measured.width),
                         finalInside(proposal.height, maxHeight_, frame().height, measured.height)};
  content().place(offered, placed(content().sizeFor(offered), frame(), placement_).origin());
}

}  // namespace sorn::layout
