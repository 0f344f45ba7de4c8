#include "layout/HitMap.h"

#include <ranges>

namespace sorn::layout {

std::size_t HitMap::addArea(Area area) {
  areas_.push_back(area);
  return areas_.size() - 1;
}

// Walks from the target's own place outwards: each area shows its content moved up, within its viewport.
bool HitMap::isHit(const HitTarget& target, Point point, std::span<const double> offsets) const {
  std::vector<std::size_t> chain;
  for (auto area = target.scrollArea; area; area = areas_[*area].parent) chain.push_back(*area);
  for (const std::size_t area : chain | std::views::reverse) {
    if (!areas_[area].viewport.contains(point)) return false;
    if (area < offsets.size()) point.y += offsets[area];
  }
  return target.rect.contains(point);
}

const HitTarget* HitMap::at(Point point, std::span<const double> offsets) const {
  for (const HitTarget& target : targets_ | std::views::reverse)
    if (isHit(target, point, offsets)) return &target;
  return nullptr;
}

}  // namespace sorn::layout
