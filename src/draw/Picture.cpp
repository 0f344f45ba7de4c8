#include "draw/Picture.h"

#include "draw/Halving.h"
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
