#include "draw/PangoTextMeasure.h"

#include <cmath>

#include "draw/PangoText.h"

namespace sorn::draw {

PangoTextMeasure::PangoTextMeasure(double scale)
    : fonts_(std::make_shared<const Fonts>()), scale_(std::isfinite(scale) && scale > 0 ? scale : 1) {}

PangoTextMeasure::~PangoTextMeasure() = default;

std::shared_ptr<layout::PreparedText> PangoTextMeasure::prepare(layout::TextRun run) {
  return std::make_shared<PangoText>(std::move(run), fonts_, scale_);
}

}  // namespace sorn::draw
