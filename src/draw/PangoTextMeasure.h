#pragma once

#include <memory>

#include "layout/Text.h"

namespace sorn::draw {

// Measures texts with Pango, by metrics that know no pixels: a layout is the same at every scale, but for the
// rounding of the answers. Belongs, like the texts that it prepares, to the thread that made it; each thread
// has fonts of its own.
class PangoTextMeasure : public layout::TextMeasure {
 public:
  struct Fonts;

  // `scale`: pixels a point, to which answers are rounded up.
  explicit PangoTextMeasure(double scale = 1);
  ~PangoTextMeasure() override;

  std::shared_ptr<layout::PreparedText> prepare(layout::TextRun run) override;

 private:
  std::shared_ptr<const Fonts> fonts_;
  double scale_;
};

}  // namespace sorn::draw
