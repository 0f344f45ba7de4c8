#pragma once

#include <functional>
#include <memory>
#include <span>
#include <string>
#include <variant>

#include "draw/Picture.h"
#include "draw/Pixels.h"
#include "layout/DisplayList.h"

using cairo_t = struct _cairo;  // NOLINT(bugprone-reserved-identifier): Cairo's own name

// Executes display lists with Cairo.
namespace sorn::draw {

// The spinner turns in its place.
struct Loading {};

// What a slot of the list shows; a null picture shows the placeholder.
using ImageState = std::variant<Loading, std::shared_ptr<const Picture>>;

// What changes from one painting of a list to the next.
struct Frame {
  std::span<const ImageState> images;     // a slot beyond the end is loading
  std::span<const double> scrollOffsets;  // points; an area beyond the end is at its top
  double spinnerTurn = 0;                 // turns since the spinner began; one turn a second
};

// Draws the list into the context, whose unit is a point; edges go to whole pixels, of which a point has
// `scale`. What lies outside the context's clip or the list's surface costs next to nothing, and lengths that
// Cairo cannot count are cut to what it can. Leaves the context as it was.
void execute(const layout::DisplayList& list, cairo_t* context, double scale, const Frame& frame);

// What is painted into a context of this size in points, on a clear ground, in as many pixels as it has at
// that scale; `longestRenderedSide` and `mostPicturePixels` bound them.
Pixels renderToPixels(layout::Size size, double scale, const std::function<void(cairo_t*)>& paint);

// The list on such a ground.
Pixels renderToPixels(const layout::DisplayList& list, double scale, const Frame& frame);

}  // namespace sorn::draw
