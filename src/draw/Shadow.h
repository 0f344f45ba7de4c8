#pragma once

#include "draw/Handles.h"
#include "layout/DisplayList.h"

namespace sorn::draw {

// How far a shadow reaches beyond its shape, in points.
double reachOf(const layout::DrawShadow& shadow, double scale);

// Draws the shadow of a shape that lies at `rect`, as far as it is visible.
void drawShadow(cairo_t* context, const layout::DrawShadow& shadow, const layout::Rect& rect,
                const layout::Rect& visible, double scale);

}  // namespace sorn::draw
