#include "draw/TestPictures.h"

#include <gdk-pixbuf/gdk-pixbuf.h>

#include "draw/Handles.h"

namespace sorn::draw {

namespace {

std::string pngOf(const Surface& surface) {
  std::string png;
  cairo_surface_write_to_png_stream(
      surface.get(),
      [](void* to, const unsigned char* bytes, unsigned length) {
        static_cast<std::string*>(to)->append(reinterpret_cast<const char*>(bytes), length);
        return CAIRO_STATUS_SUCCESS;
      },
      &png);
  return png;
}

}  // namespace

std::string pngOfStripes(int width, int height, const std::vector<layout::Color>& stripes) {
  const Surface surface = imageSurface(width, height);
  const Drawing context(cairo_create(surface.get()));
  const double stripe = static_cast<double>(width) / static_cast<double>(stripes.size());
  for (std::size_t i = 0; i < stripes.size(); ++i) {
    const auto& [r, g, b, a] = stripes[i];
    cairo_set_source_rgba(context.get(), r, g, b, a);
    cairo_rectangle(context.get(), stripe * static_cast<double>(i), 0, stripe, height);
    cairo_fill(context.get());
  }
  return pngOf(surface);
}

std::string pngOfBits(int width, int height) {
  return pngOf(Surface(cairo_image_surface_create(CAIRO_FORMAT_A1, width, height)));
}

std::string jpegOfHalves(int width, int height, std::uint32_t left, std::uint32_t right) {
  GdkPixbuf* picture = gdk_pixbuf_new(GDK_COLORSPACE_RGB, FALSE, 8, width, height);
  gdk_pixbuf_fill(picture, right << 8);
  GdkPixbuf* half = gdk_pixbuf_new_subpixbuf(picture, 0, 0, width / 2, height);
  gdk_pixbuf_fill(half, left << 8);
  gchar* bytes = nullptr;
  gsize length = 0;
  gdk_pixbuf_save_to_buffer(picture, &bytes, &length, "jpeg", nullptr, "quality", "95", nullptr);
  std::string jpeg(bytes, length);
  g_free(bytes);
  g_object_unref(half);
  g_object_unref(picture);
  return jpeg;
}

std::string withOrientation(std::string jpeg, char orientation) {
  using namespace std::string_literals;
  const std::string segment =
      "\xFF\xE1\x00\x22"s  // APP1, 34 bytes
      "Exif\0\0"s
      "MM\0*\0\0\0\x08"s  // big-endian, the directory at 8
      "\0\x01"s
      "\x01\x12\0\x03\0\0\0\x01\0"s +  // one entry: tag 0x0112, a short
      orientation +
      "\0\0"s
      "\0\0\0\0"s;  // no further directory
  return jpeg.insert(2, segment);
}

}  // namespace sorn::draw
