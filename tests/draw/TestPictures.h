#pragma once

#include <cstdint>
#include <initializer_list>
#include <memory>
#include <string>
#include <vector>

#include "draw/Canvas.h"
#include "draw/PangoTextMeasure.h"

// Lists, encoded files and pixels for the tests of drawing.
namespace sorn::draw {

inline constexpr layout::Color red{1, 0, 0, 1};
inline constexpr layout::Color green{0, 1, 0, 1};
inline constexpr layout::Color blue{0, 0, 1, 1};
inline constexpr std::uint32_t redPixel = 0xFFFF0000;
inline constexpr std::uint32_t greenPixel = 0xFF00FF00;
inline constexpr std::uint32_t bluePixel = 0xFF0000FF;

inline layout::DisplayList listOf(layout::Size size, std::vector<layout::Command> commands) {
  layout::DisplayList list;
  list.size = size;
  list.commands = std::move(commands);
  return list;
}

// Drawn with its slots' pictures.
inline Pixels drawn(const layout::DisplayList& list, double scale = 1, std::vector<ImageState> images = {}) {
  return renderToPixels(list, scale, {.images = images, .scrollOffsets = {}});
}

inline layout::FillShape fill(const layout::Rect& rect, layout::Paint paint,
                              layout::RoundedCorners corners = {}) {
  return {{rect, corners}, std::move(paint)};
}

inline layout::TextStyle inter(double size) {
  layout::TextStyle style;
  style.family = "Inter";
  style.size = size;
  return style;
}

// A picture of equally wide upright stripes.
std::string pngOfStripes(int width, int height, const std::vector<layout::Color>& stripes);

// A photograph-like picture as JPEG: `left` and `right` halves.
std::string jpegOfHalves(int width, int height, std::uint32_t left, std::uint32_t right);

// Puts an orientation (EXIF 2.32, tag 0x0112) into a JPEG.
std::string withOrientation(std::string jpeg, char orientation);

// A valid PNG of one bit a pixel, all clear.
std::string pngOfBits(int width, int height);

}  // namespace sorn::draw
