#pragma once

#include "draw/Handles.h"

namespace sorn::draw {

// The picture with half of the pixels on each side, each the mean of four; the last row or column of an odd
// side is lost. Unsound when there is no memory for it.
Surface halved(cairo_surface_t* picture);

}  // namespace sorn::draw
