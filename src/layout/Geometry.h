#pragma once

#include <cmath>
#include <optional>

#include "sorn/view/Geometry.h"

namespace sorn::layout {

using view::Insets;
using view::Point;
using view::Rect;
using view::Size;

// Where content lies in a frame that is larger or smaller: 0 at the leading and top edge, 1 at the trailing
// and bottom edge. Content that is larger spills over by the same share.
struct Placement {
  double x = 0.5;
  double y = 0.5;

  static const Placement topLeading, top, topTrailing, leading, center, trailing, bottomLeading, bottom,
      bottomTrailing;

  bool operator==(const Placement&) const = default;
};

inline constexpr Placement Placement::topLeading{0, 0};
inline constexpr Placement Placement::top{0.5, 0};
inline constexpr Placement Placement::topTrailing{1, 0};
inline constexpr Placement Placement::leading{0, 0.5};
inline constexpr Placement Placement::center{0.5, 0.5};
inline constexpr Placement Placement::trailing{1, 0.5};
inline constexpr Placement Placement::bottomLeading{0, 1};
inline constexpr Placement Placement::bottom{0.5, 1};
inline constexpr Placement Placement::bottomTrailing{1, 1};

// The rectangle of content of this size in the frame.
inline Rect placed(Size content, const Rect& frame, Placement at) {
  return {frame.x + (frame.width - content.width) * at.x, frame.y + (frame.height - content.height) * at.y,
          content.width, content.height};
}

// A rectangle on whole pixels: each edge goes to the nearest one by itself, so that rectangles which touch
// still touch.
inline Rect onPixels(const Rect& rect, double scale) {
  const auto snap = [scale](double edge) { return std::floor(edge * scale + 0.5) / scale; };
  const double x = snap(rect.x);
  const double y = snap(rect.y);
  return {x, y, snap(rect.maxX()) - x, snap(rect.maxY()) - y};
}

// What a parent offers a child, each side by itself: absent asks for the ideal length, 0 for the least,
// infinity for the most.
struct Proposal {
  std::optional<double> width;
  std::optional<double> height;

  bool operator==(const Proposal&) const = default;
};

}  // namespace sorn::layout
