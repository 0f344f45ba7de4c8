#pragma once

#include <string>

using cairo_surface_t = struct _cairo_surface;

namespace sorn::bench {

// The offer drawn by hand with Cairo and Pango, every place worked out beforehand: the least that any drawing
// of it costs. The picture is decoded already. The surface is the caller's.
cairo_surface_t* drawOfferBare(cairo_surface_t* picture);

}  // namespace sorn::bench
