#include "draw/Pixels.h"

#include <cstddef>
#include <cstring>

#include "draw/Handles.h"

namespace sorn::draw {

bool writePng(const Pixels& pixels, const std::string& path) {
  if (pixels.argb.empty()) return false;
  const Surface surface = imageSurface(pixels.width, pixels.height);
  if (!isSound(surface)) return false;
  const auto rowBytes = static_cast<std::size_t>(pixels.width) * sizeof(std::uint32_t);
  for (int y = 0; y < pixels.height; ++y) {
    std::memcpy(rowOf(surface.get(), y), pixels.argb.data() + static_cast<std::size_t>(y) * pixels.width,
                rowBytes);
  }
  cairo_surface_mark_dirty(surface.get());
  return cairo_surface_write_to_png(surface.get(), path.c_str()) == CAIRO_STATUS_SUCCESS;
}

}  // namespace sorn::draw
