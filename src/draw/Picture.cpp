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

Surface scaledCopy(const Picture& picture, int width, int height) {
  Surface scaled = imageSurface(width, height);
  const Drawing context(cairo_create(scaled.get()));
  cairo_scale(context.get(), static_cast<double>(width) / picture.pixelWidth(),
              static_cast<double>(height) / picture.pixelHeight());
  cairo_set_source_surface(context.get(), picture.surface(), 0, 0);
  cairo_pattern_t* source = cairo_get_source(context.get());
  cairo_pattern_set_filter(source, CAIRO_FILTER_GOOD);
  cairo_pattern_set_extend(source, CAIRO_EXTEND_PAD);  // what lies beyond the edge does not darken it
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
