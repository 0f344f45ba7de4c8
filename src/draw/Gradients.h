#pragma once

#include "draw/Handles.h"
#include "layout/DisplayList.h"

namespace sorn::draw {

// Makes the paint the context's source, for use within `area`, a visible part of the surface on whole pixels.
void setPaint(cairo_t* context, const layout::Paint& paint, const layout::Rect& area, double scale);

}  // namespace sorn::draw
