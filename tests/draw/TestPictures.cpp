#include "draw/TestPictures.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>

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

namespace {

Pixels read(const std::string& path) {
  const Surface surface(cairo_image_surface_create_from_png(path.c_str()));
  if (!isSound(surface)) return {};
  const Surface copy = imageSurface(cairo_image_surface_get_width(surface.get()),
                                    cairo_image_surface_get_height(surface.get()));
  const Drawing context(cairo_create(copy.get()));
  cairo_set_source_surface(context.get(), surface.get(), 0, 0);
  cairo_paint(context.get());
  cairo_surface_flush(copy.get());
  Pixels pixels{cairo_image_surface_get_width(copy.get()), cairo_image_surface_get_height(copy.get()), {}};
  const auto* data =
      static_cast<const std::uint32_t*>(static_cast<const void*>(cairo_image_surface_get_data(copy.get())));
  pixels.argb.assign(data, data + static_cast<std::ptrdiff_t>(pixels.width) * pixels.height);
  return pixels;
}

int channel(std::uint32_t pixel, int shift) { return static_cast<int>(pixel >> shift & 0xFF); }

// The difference of two pictures around a pixel, of the mean over three by three: glyphs that are drawn a
// little bolder or moved by a fraction of a pixel change single pixels much, their surroundings little.
double differenceAround(const Pixels& a, const Pixels& b, int x, int y, int shift) {
  int sum = 0;
  for (int dy = -1; dy <= 1; ++dy) {
    for (int dx = -1; dx <= 1; ++dx) {
      sum += channel(a.at(x + dx, y + dy), shift) - channel(b.at(x + dx, y + dy), shift);
    }
  }
  return std::abs(sum) / 9.0;
}

struct Difference {
  double mean = 0;
  double largest = 0;
  int x = 0;
  int y = 0;
};

Difference differenceOf(const Pixels& a, const Pixels& b) {
  Difference difference;
  for (int y = 0; y < a.height; ++y) {
    for (int x = 0; x < a.width; ++x) {
      for (int shift = 0; shift < 32; shift += 8) {
        difference.mean += std::abs(channel(a.at(x, y), shift) - channel(b.at(x, y), shift));
        const double here = differenceAround(a, b, x, y, shift);
        if (here > difference.largest) difference = {difference.mean, here, x, y};
      }
    }
  }
  difference.mean /= 4.0 * a.width * a.height;
  return difference;
}

}  // namespace

std::string differenceFromGolden(const Pixels& pixels, const std::string& name) {
  constexpr double mostMean = 1;
  constexpr double mostAround = 40;
  const Pixels golden = read(std::string(SORN_GOLDEN_FOLDER) + "/" + name + ".png");
  std::string message = "another size";
  if (golden.width == pixels.width && golden.height == pixels.height) {
    const Difference difference = differenceOf(golden, pixels);
    if (difference.mean <= mostMean && difference.largest <= mostAround) return {};
    message = "mean " + std::to_string(difference.mean) + ", largest " + std::to_string(difference.largest) +
              " around " + std::to_string(difference.x) + ", " + std::to_string(difference.y);
  }
  const std::string path = (std::filesystem::current_path() / (name + ".actual.png")).string();
  if (!writePng(pixels, path)) return message;
  return message + "; drawn now: " + path;
}

}  // namespace sorn::draw
