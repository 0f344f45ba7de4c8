#include <gtest/gtest.h>

#include "layout/HitMap.h"

namespace sorn::layout {
namespace {

using Kind = HitTarget::Kind;

TEST(HitMap, TargetsMoveWithWhatScrollsAndEndAtItsEdge) {
  HitMap map;
  const auto outer = map.addArea({{0, 0, 100, 100}, std::nullopt});
  const auto inner = map.addArea({{0, 150, 100, 50}, outer});
  map.add({Kind::button, {0, 120, 100, 20}, nullptr, outer});
  map.add({Kind::closeButton, {0, 210, 100, 20}, nullptr, inner});
  EXPECT_EQ(map.at({50, 130}), nullptr);
  const double half[] = {50};
  EXPECT_EQ(map.at({0, 70}, half)->kind, Kind::button);
  EXPECT_EQ(map.at({0, 90}, half), nullptr);
  EXPECT_EQ(map.at({100, 80}, half), nullptr);
  EXPECT_EQ(map.at({50, 130}, half), nullptr);
  const double both[] = {110, 20};
  EXPECT_EQ(map.at({50, 85}, both)->kind, Kind::closeButton);
  EXPECT_EQ(map.at({50, 95}, both), nullptr);
}

}  // namespace
}  // namespace sorn::layout
