#pragma once

#include <algorithm>
#include <optional>
#include <vector>

#include "layout/Geometry.h"

namespace sorn::layout {

// The radii of a rectangle's corners, in points. The list of a document runs clockwise from the top left.
struct RoundedCorners {
  double tl = 0;
  double tr = 0;
  double bl = 0;
  double br = 0;

  // Missing elements are square corners.
  static RoundedCorners fromClockwise(const std::optional<std::vector<double>>& radii) {
    const auto at = [&](std::size_t i) { return radii && i < radii->size() ? (*radii)[i] : 0.0; };
    return {at(0), at(1), at(3), at(2)};
  }
  static RoundedCorners all(double radius) { return {radius, radius, radius, radius}; }

  bool areSquare() const { return tl <= 0 && tr <= 0 && bl <= 0 && br <= 0; }

  // Each radius at most half of the smaller side, and at least nothing.
  RoundedCorners limitedTo(Size size) const {
    const double most = std::max(std::min(size.width, size.height) / 2, 0.0);
    const auto limit = [most](double radius) { return std::clamp(radius, 0.0, most); };
    return {limit(tl), limit(tr), limit(bl), limit(br)};
  }

  bool operator==(const RoundedCorners&) const = default;
};

}  // namespace sorn::layout
