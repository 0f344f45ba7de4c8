#include "layout/SornSheetConfiguration.h"

#include <algorithm>

namespace sorn::layout {

namespace {

using Mode = SornSheetConfiguration::Mode;

constexpr Size pullBar{60, 4};
constexpr double pullBarDistance = 16;  // from the free edge, and from there to the content

}  // namespace

SornSheetConfiguration SornSheetConfiguration::of(const documents::SornInAppCampaign& campaign) {
  SornSheetConfiguration sheet;
  sheet.tapToDismissEnabled = campaign.content_metadata.dismissable_on_tap;
  sheet.backgroundColor = colorFromHex(campaign.content_metadata.background_color);
  sheet.mode = campaign.content_metadata.type == documents::RootType::top ? Mode::top : Mode::bottom;
  if (const auto& radii = campaign.content.cornerRadius; radii && !radii->empty())
    sheet.cornerRadius = *std::ranges::max_element(*radii);
  return sheet;
}

RoundedCorners SornSheetConfiguration::freeCorners(double share) const {
  RoundedCorners corners;
  (mode == Mode::top ? corners.bl : corners.tl) = cornerRadius * share;
  (mode == Mode::top ? corners.br : corners.tr) = cornerRadius * share;
  return corners;
}

Rect sheetFrame(Mode mode, double fit, Size container, const Insets& safeArea) {
  const double available = std::max(container.height - safeArea.top - safeArea.bottom, 0.0);
  double height = fit <= 0 || fit > available ? available : fit;
  if (mode == Mode::top) height += safeArea.top;
  return {0, mode == Mode::top ? 0 : container.height - height, container.width, height};
}

Rect pullBarFrame(Mode mode, const Rect& sheet) {
  const double y = mode == Mode::top ? sheet.maxY() - pullBarDistance : sheet.y + pullBarDistance;
  return {sheet.x + (sheet.width - pullBar.width) / 2, y, pullBar.width, pullBar.height};
}

double pullBarInset(const SornSheetConfiguration& configuration) {
  const bool isKeptFree = configuration.showPullBar && configuration.mode == Mode::bottom;
  return isKeptFree ? pullBarDistance + pullBar.height + pullBarDistance : 0;
}

}  // namespace sorn::layout
