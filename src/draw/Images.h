#pragma once

#include "draw/Canvas.h"
#include "draw/Handles.h"

namespace sorn::draw {

// Where a picture of this size lies in the rectangle: centred, and wholly in it or wholly over it.
layout::Rect pictureFrame(layout::Size picture, const layout::Rect& rect, documents::ImageContentMode mode);

// Draws the picture over its frame, as far as that lies in the rectangle.
void drawPicture(cairo_t* context, const Picture& picture, const layout::Rect& frame,
                 const layout::Rect& rect, double scale);

// Draws the spinner in the middle of the rectangle.
void drawSpinner(cairo_t* context, const layout::Rect& rect, double turns);

}  // namespace sorn::draw
