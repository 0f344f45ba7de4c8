#include "layout/NodeFrames.h"

#include <algorithm>
#include <limits>

#include "layout/Frames.h"
#include "layout/Modifiers.h"
#include "support/Fault.h"

namespace sorn::layout {

using documents::Alignment;
using documents::Arrangement;
using documents::SornView;
using documents::SornViewType;

namespace {

// Longer than any surface, and short enough that sums of such lengths stay exact and finite.
constexpr double longestLength = 1e9;
constexpr double steepestRatio = 1e6;
constexpr double fillMarker = -1;

double boundedLength(double length) { return std::clamp(length, -longestLength, longestLength); }

std::optional<double> fixedLength(const std::optional<double>& length) {
  return length && *length > 0 ? std::optional(boundedLength(*length)) : std::nullopt;
}

// A bound below zero bounds nothing.
std::optional<double> greatestLength(const std::optional<double>& length, const std::optional<double>& most,
                                     bool isSpacer) {
  if (isSpacer || length == fillMarker) return std::numeric_limits<double>::infinity();
  return most && *most >= 0 ? std::optional(boundedLength(*most)) : std::nullopt;
}

Placement textPlacement(const SornView& node) {
  using documents::TextAlign;
  switch (node.textData ? node.textData->textAlign.value_or(TextAlign::start) : TextAlign::start) {
    case TextAlign::right:
    case TextAlign::end:
      return Placement::trailing;
    case TextAlign::center:
      return Placement::center;
    default:
      return Placement::leading;
  }
}

// "arrangement" chooses the place from top to bottom, "alignment" the one from side to side; `middle` is the
// alignment that centres this kind of stack. Everything else, and the arrangements that elsewhere spread the
// children, comes out as top leading on purpose: campaigns are composed with that in view.
Placement stackPlacement(const SornView& node, Alignment middle) {
  Placement placement;
  if (node.alignment == Alignment::start) {
    placement.x = 0;
  } else if (node.alignment == Alignment::end) {
    placement.x = 1;
  } else if (node.alignment != middle) {
    return Placement::topLeading;
  }
  switch (node.arrangement.value_or(Arrangement::center)) {
    case Arrangement::top:
      placement.y = 0;
      break;
    case Arrangement::bottom:
      placement.y = 1;
      break;
    case Arrangement::center:
      break;
    default:
      return Placement::topLeading;
  }
  return placement;
}

}  // namespace

Placement frameAlignment(const SornView& node) {
  switch (node.viewType) {
    case SornViewType::text:
      return textPlacement(node);
    case SornViewType::row:
      return stackPlacement(node, Alignment::centerVertically);
    case SornViewType::column:
      return stackPlacement(node, Alignment::centerHorizontally);
    default:
      return Placement::topLeading;
  }
}

double childAlignment(const SornView& node) {
  const bool isRow = node.viewType == SornViewType::row;
  const Alignment first = isRow ? Alignment::top : Alignment::start;
  const Alignment last = isRow ? Alignment::bottom : Alignment::end;
  const Alignment asked = node.alignment.value_or(first);
  return asked == first ? 0 : asked == last ? 1 : 0.5;
}

std::unique_ptr<LayoutItem> framed(std::unique_ptr<LayoutItem> content, const SornView& node) {
  if (node.aspectRatio && *node.aspectRatio > 0) {
    const double ratio = std::clamp(*node.aspectRatio, 1 / steepestRatio, steepestRatio);
    content = std::make_unique<AspectRatioBox>(std::move(content), ratio);
  }
  const Placement placement = frameAlignment(node);
  const bool isSpacer = node.isSpacer.value_or(false);
  const auto maxWidth = greatestLength(node.width, node.maxWidth, isSpacer);
  const auto maxHeight = greatestLength(node.height, node.maxHeight, isSpacer);
  if (maxWidth || maxHeight)
    content = std::make_unique<FlexibleFrame>(std::move(content), maxWidth, maxHeight, placement);
  const auto width = fixedLength(node.width);
  const auto height = fixedLength(node.height);
  if (width || height) content = std::make_unique<FixedFrame>(std::move(content), width, height, placement);
  return content;
}

std::optional<Insets> paddingOf(const SornView& node) {
  if (!node.padding) return std::nullopt;
  const auto& numbers = *node.padding;
  if (numbers.size() < 4) support::fault("a \"padding\" of at least four numbers");
  return Insets{boundedLength(numbers[0]), boundedLength(numbers[1]), boundedLength(numbers[2]),
                boundedLength(numbers[3])};
}

}  // namespace sorn::layout
