#include "draw/GoldenPictures.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <utility>

#include "draw/Handles.h"

namespace sorn::draw {

Pixels readPicture(const std::filesystem::path& path) {
  const Surface surface(cairo_image_surface_create_from_png(path.c_str()));
  if (!isSound(surface)) return {};
  Pixels pixels{
      cairo_image_surface_get_width(surface.get()), cairo_image_surface_get_height(surface.get()), {}};
  pixels.argb.resize(static_cast<std::size_t>(pixels.width) * pixels.height);
  const Surface copy(cairo_image_surface_create_for_data(reinterpret_cast<unsigned char*>(pixels.argb.data()),
                                                         CAIRO_FORMAT_ARGB32, pixels.width, pixels.height,
                                                         pixels.width * 4));
  const Drawing context(cairo_create(copy.get()));
  cairo_set_source_surface(context.get(), surface.get(), 0, 0);
  cairo_paint(context.get());
  cairo_surface_finish(copy.get());
  return pixels;
}

namespace {

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

// The mean difference of all channels, and the largest around a pixel.
std::pair<double, double> differenceOf(const Pixels& a, const Pixels& b) {
  double sum = 0;
  double largest = 0;
  for (int y = 0; y < a.height; ++y) {
    for (int x = 0; x < a.width; ++x) {
      for (int shift = 0; shift < 32; shift += 8) {
        sum += std::abs(channel(a.at(x, y), shift) - channel(b.at(x, y), shift));
        largest = std::max(largest, differenceAround(a, b, x, y, shift));
      }
    }
  }
  return {sum / (4.0 * a.width * a.height), largest};
}

}  // namespace

std::string differenceFromGolden(const Pixels& pixels, const std::filesystem::path& golden) {
  constexpr double mostMean = 1;
  constexpr double mostAround = 40;
  const Pixels kept = readPicture(golden);
  std::string message = "another size";
  if (kept.width == pixels.width && kept.height == pixels.height) {
    const auto [mean, largest] = differenceOf(kept, pixels);
    if (mean <= mostMean && largest <= mostAround) return {};
    message = "mean " + std::to_string(mean) + ", largest " + std::to_string(largest);
  }
  std::filesystem::path actual = golden;
  actual.replace_extension(".actual.png");
  if (!writePng(pixels, actual.string())) return message;
  return message + "; drawn now: " + actual.string();
}

}  // namespace sorn::draw
