#include "draw/Halving.h"

#include <cstdint>

namespace sorn::draw {

namespace {

// The mean of four premultiplied pixels, two channels at a time.
std::uint32_t meanOf(std::uint32_t a, std::uint32_t b, std::uint32_t c, std::uint32_t d) {
  constexpr std::uint32_t even = 0x00FF00FF;
  constexpr std::uint32_t half = 0x00020002;
  const std::uint32_t low = (a & even) + (b & even) + (c & even) + (d & even) + half;
  const std::uint32_t high = (a >> 8 & even) + (b >> 8 & even) + (c >> 8 & even) + (d >> 8 & even) + half;
  return (low >> 2 & even) | ((high >> 2 & even) << 8);
}

}  // namespace

Surface halved(cairo_surface_t* picture) {
  const int width = cairo_image_surface_get_width(picture) / 2;
  const int height = cairo_image_surface_get_height(picture) / 2;
  Surface half = imageSurface(width, height);
  if (!isSound(half)) return half;
  for (int y = 0; y < height; ++y) {
    const std::uint32_t* upper = rowOf(picture, 2 * y);
    const std::uint32_t* lower = rowOf(picture, 2 * y + 1);
    std::uint32_t* to = rowOf(half.get(), y);
    for (int x = 0; x < width; ++x, upper += 2, lower += 2) {
      to[x] = meanOf(upper[0], upper[1], lower[0], lower[1]);
    }
  }
  cairo_surface_mark_dirty(half.get());
  return half;
}

}  // namespace sorn::draw
