#include "layout/HitMap.h"

#include <ranges>

namespace sorn::layout {

std::size_t HitMap::addArea(Area area) {
  areas_.push_back(area);
  return areas_.size() - 1;
}

std::optional<Point> HitMap::within(std::optional<std::size_t> area, Point point,
                                    std::span<const double> offsets) const {
  if (!area) return point;
  const auto outer = within(areas_[*area].parent, point, offsets);
  if (!outer || !areas_[*area].viewport.contains(*outer)) return std::nullopt;
  return Point{outer->x, outer->y + (*area < offsets.size() ? offsets[*area] : 0)};
}

const HitTarget* HitMap::at(Point point, std::span<const double> offsets) const {
  for (const HitTarget& target : targets_ | std::views::reverse) {
    const auto inside = within(target.scrollArea, point, offsets);
    if (inside && target.rect.contains(*inside)) return &target;
  }
  return nullptr;
}

// An area within another one comes after it.
std::optional<std::size_t> HitMap::areaAt(Point point, std::span<const double> offsets) const {
  for (std::size_t area = areas_.size(); area-- > 0;)
    if (within(area, point, offsets)) return area;
  return std::nullopt;
}

Rect HitMap::frameOf(const HitTarget& target, std::span<const double> offsets) const {
  Rect frame = target.rect;
  for (auto area = target.scrollArea; area; area = areas_[*area].parent)
    if (*area < offsets.size()) frame.y -= offsets[*area];
  return frame;
}

}  // namespace sorn::layout
