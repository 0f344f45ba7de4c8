#pragma once

#include <cstdint>

#include "documents/SornInAppCampaign.h"
#include "layout/Color.h"
#include "layout/Geometry.h"
#include "layout/RoundedCorners.h"

namespace sorn::layout {

// How a campaign that comes in from the top or bottom edge looks and behaves.
struct SornSheetConfiguration {
  enum class Mode : std::uint8_t { bottom, top };

  bool showPullBar = true;
  bool tapToDismissEnabled = false;
  bool panToDismissEnabled = true;
  double cornerRadius = 16;        // points, of the two free corners
  Color backgroundColor;           // of the backdrop
  double animationDuration = 0.5;  // seconds
  double dampingRatio = 0.9;
  double dismissThreshold = 0.3;  // part of the way out past which a drag completes
  Mode mode = Mode::bottom;

  // For a campaign of type `top` or `bottom`.
  static SornSheetConfiguration of(const documents::SornInAppCampaign& campaign);

  // The corners that are not at the sheet's edge of the screen, with a share of their radius.
  RoundedCorners freeCorners(double share = 1) const;
};

// Where the sheet lies in its container. `fit` is the height that its content needs at the container's width;
// nothing, or more than the safe area has, gives all that the safe area has.
Rect sheetFrame(SornSheetConfiguration::Mode mode, double fit, Size container, const Insets& safeArea);

// The bar that invites to pull: its place in a sheet with this frame.
Rect pullBarFrame(SornSheetConfiguration::Mode mode, const Rect& sheet);

// How much of a bottom sheet's top the bar keeps free. A top sheet keeps nothing free: the bar lies in the
// padding of its content.
double pullBarInset(const SornSheetConfiguration& configuration);

}  // namespace sorn::layout
