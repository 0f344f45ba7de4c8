#pragma once

#include <optional>

#include "draw/Handles.h"
#include "layout/DisplayList.h"

// Rectangles as Cairo can take them, and paths.
namespace sorn::draw {

// The part that both cover; without size when there is none.
layout::Rect intersection(const layout::Rect& a, const layout::Rect& b);

inline bool isEmpty(const layout::Rect& rect) { return !(rect.width > 0 && rect.height > 0); }

inline layout::Rect grownBy(const layout::Rect& rect, double length) {
  return {rect.x - length, rect.y - length, rect.width + 2 * length, rect.height + 2 * length};
}

// Cairo counts in 2^23 pixels. An edge farther than this from what is visible is moved there, which nobody
// sees.
inline constexpr double farthestPixel = 1 << 20;

// The rectangle on whole pixels, its edges not farther than Cairo can count; absent when it is no rectangle.
std::optional<layout::Rect> onSurface(const layout::Rect& rect, const layout::Rect& visible, double scale);

// Appends the shape's path: clockwise, from the middle of the upper edge, an arc at each round corner.
void appendPath(cairo_t* context, const layout::Rect& rect, const layout::RoundedCorners& corners);

// Makes the picture the source, spread over the frame; its edge goes on beyond.
void setPicture(cairo_t* context, cairo_surface_t* picture, const layout::Rect& frame, cairo_filter_t filter);

void setColor(cairo_t* context, const layout::Color& color);

}  // namespace sorn::draw
