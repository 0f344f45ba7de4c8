#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include <pango/pangocairo.h>

// Owners of the C libraries' objects. Only for the sources of this folder: they bring the heavy headers.
namespace sorn::draw {

struct Release {
  void operator()(cairo_t* context) const { cairo_destroy(context); }
  void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
  void operator()(cairo_pattern_t* pattern) const { cairo_pattern_destroy(pattern); }
  void operator()(cairo_font_options_t* options) const { cairo_font_options_destroy(options); }
  void operator()(PangoFontDescription* description) const { pango_font_description_free(description); }
  void operator()(PangoContext* context) const { g_object_unref(context); }
  void operator()(PangoLayout* layout) const { g_object_unref(layout); }
  void operator()(PangoLayoutIter* iterator) const { pango_layout_iter_free(iterator); }
};

using Drawing = std::unique_ptr<cairo_t, Release>;
using Surface = std::unique_ptr<cairo_surface_t, Release>;
using Pattern = std::unique_ptr<cairo_pattern_t, Release>;
using FontOptions = std::unique_ptr<cairo_font_options_t, Release>;
using FontDescription = std::unique_ptr<PangoFontDescription, Release>;
using TextContext = std::unique_ptr<PangoContext, Release>;
using TextLayout = std::unique_ptr<PangoLayout, Release>;
using LayoutIterator = std::unique_ptr<PangoLayoutIter, Release>;

inline Surface imageSurface(int width, int height) {
  return Surface(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, width, height));
}

inline bool isSound(const Surface& surface) {
  return cairo_surface_status(surface.get()) == CAIRO_STATUS_SUCCESS;
}

// The pixels of a row.
inline std::uint32_t* rowOf(cairo_surface_t* surface, int y) {
  unsigned char* row = cairo_image_surface_get_data(surface) +
                       static_cast<std::ptrdiff_t>(y) * cairo_image_surface_get_stride(surface);
  return static_cast<std::uint32_t*>(static_cast<void*>(row));
}

}  // namespace sorn::draw
