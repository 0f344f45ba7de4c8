#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace sorn::draw {

// A rendered surface has at most so many pixels a side; what lies beyond is not rendered.
inline constexpr int longestRenderedSide = 16'384;

// A picture in memory, row by row from the top. A pixel is 0xAARRGGBB, premultiplied.
struct Pixels {
  int width = 0;
  int height = 0;
  std::vector<std::uint32_t> argb;

  // Clear outside the picture.
  std::uint32_t at(int x, int y) const {
    const bool isInside = x >= 0 && y >= 0 && x < width && y < height;
    return isInside ? argb[static_cast<std::size_t>(y) * width + x] : 0;
  }

  bool operator==(const Pixels&) const = default;
};

// False when the file could not be written, or there are no pixels.
bool writePng(const Pixels& pixels, const std::string& path);

}  // namespace sorn::draw
