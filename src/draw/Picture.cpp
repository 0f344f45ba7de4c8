#include "draw/Picture.h"

#include "draw/Handles.h"

namespace sorn::draw {

Picture::Picture(cairo_surface_t* surface, double pixelsPerPoint)
    : surface_(surface), pixelsPerPoint_(pixelsPerPoint) {}

Picture::~Picture() {
  cairo_surface_destroy(surface_);
  if (scaled_ != nullptr) cairo_surface_destroy(scaled_);
}

int Picture::pixelWidth() const { return cairo_image_surface_get_width(surface_); }
int Picture::pixelHeight() const { return cairo_image_surface_get_height(surface_); }
layout::Size Picture::size() const {
  return {pixelWidth() / pixelsPerPoint_, pixelHeight() / pixelsPerPoint_};
}

namespace {

// The mean of four premultiplied pixels, two channels at a time.
std::uint32_t meanOf(std::uint32_t a, std::uint32_t b, std::uint32_t c, std::uint32_t d) {
  constexpr std::uint32_t even = 0x00FF00FF;
  constexpr std::uint32_t half = 0x00020002;
  const std::uint32_t low = (a & even) + (b & even) + (c & even) + (d & even) + half;
  const std::uint32_t high = (a >> 8 & even) + (b >> 8 & even) + (c >> 8 & even) + (d >> 8 & even) + half;
  return (low >> 2 & even) | ((high >> 2 & even) << 8);
}

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

// Halving is much faster than Cairo's filter. A side that is odd loses its last pixels, so it is done as
// long as that is nothing to be seen.
Surface halvedTowards(cairo_surface_t* picture, int width, int height) {
  constexpr int unseen = 256;
  Surface result(cairo_surface_reference(picture));
  for (;;) {
    const int fromWidth = cairo_image_surface_get_width(result.get());
    const int fromHeight = cairo_image_surface_get_height(result.get());
    const bool isFarLarger = fromWidth >= 2 * width && fromHeight >= 2 * height;
    if (!isFarLarger || fromWidth < unseen || fromHeight < unseen) return result;
    result = halved(result.get());
  }
}

Surface scaledCopy(const Picture& picture, int width, int height) {
  const Surface source = halvedTowards(picture.surface(), width, height);
  Surface scaled = imageSurface(width, height);
  const Drawing context(cairo_create(scaled.get()));
  cairo_scale(context.get(), static_cast<double>(width) / cairo_image_surface_get_width(source.get()),
              static_cast<double>(height) / cairo_image_surface_get_height(source.get()));
  cairo_set_source_surface(context.get(), source.get(), 0, 0);
  cairo_pattern_t* pattern = cairo_get_source(context.get());
  cairo_pattern_set_filter(pattern, CAIRO_FILTER_GOOD);
  cairo_pattern_set_extend(pattern, CAIRO_EXTEND_PAD);  // what lies beyond the edge does not darken it
  cairo_set_operator(context.get(), CAIRO_OPERATOR_SOURCE);
  cairo_paint(context.get());
  return scaled;
}

}  // namespace

cairo_surface_t* Picture::scaledDown(int width, int height) const {
  const std::lock_guard lock(mutex_);
  const bool isKept = scaled_ != nullptr && cairo_image_surface_get_width(scaled_) == width &&
                      cairo_image_surface_get_height(scaled_) == height;
  if (!isKept) {
    if (scaled_ != nullptr) cairo_surface_destroy(scaled_);
    scaled_ = scaledCopy(*this, width, height).release();
  }
  return cairo_surface_reference(scaled_);
}

}  // namespace sorn::draw
