#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <vector>

#include "layout/Geometry.h"
#include "sorn/view/Target.h"

namespace sorn::layout {

// One place that answers to a tap. `node` is a button of the document that was laid out, which outlives the
// map.
struct HitTarget {
  using Kind = view::Target::Kind;

  Kind kind = Kind::outside;
  Rect rect;
  const documents::SornView* node = nullptr;
  std::optional<std::size_t> scrollArea;  // the innermost one that the target moves with
};

// The places of a campaign that answer to a tap, from the back to the front.
class HitMap {
 public:
  // A part of the surface whose targets move and are cut off.
  struct Area {
    Rect viewport;
    std::optional<std::size_t> parent;
  };

  void add(HitTarget target) { targets_.push_back(target); }
  // The index of the area, for the targets in it.
  std::size_t addArea(Area area);
  std::optional<std::size_t> parentOf(std::size_t area) const { return areas_[area].parent; }
  const std::vector<HitTarget>& targets() const { return targets_; }

  // The frontmost target there, absent when there is none. `offsets` tells how far each scroll area has
  // scrolled, in points; missing ones are at their top.
  const HitTarget* at(Point point, std::span<const double> offsets = {}) const;
  // The innermost area that is seen there.
  std::optional<std::size_t> areaAt(Point point, std::span<const double> offsets) const;
  // Where the target is seen, were nothing cut off.
  Rect frameOf(const HitTarget& target, std::span<const double> offsets) const;

 private:
  // The point in terms of what scrolls in the area; absent when it is not in its viewport.
  std::optional<Point> within(std::optional<std::size_t> area, Point point,
                              std::span<const double> offsets) const;

  std::vector<HitTarget> targets_;
  std::vector<Area> areas_;
};

}  // namespace sorn::layout
