#pragma once

#include <memory>

#include "layout/Text.h"

namespace sorn::tool {

// Measures texts as if every character a reader counts (a grapheme cluster) had the same advance and every
// line the same height, whatever the font: layouts that can be worked out by hand. Lines break where Unicode
// Annex 14 allows it; blanks at a wrap are not counted.
class FixedMetric : public layout::TextMeasure {
 public:
  FixedMetric(double advance, double lineHeight) : advance_(advance), lineHeight_(lineHeight) {}

  std::shared_ptr<layout::PreparedText> prepare(layout::TextRun run) override;

 private:
  double advance_;
  double lineHeight_;
};

}  // namespace sorn::tool
