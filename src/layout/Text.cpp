#include "layout/Text.h"

namespace sorn::layout {

namespace {

LineAlignment alignmentOf(std::optional<documents::TextAlign> align) {
  using documents::TextAlign;
  switch (align.value_or(TextAlign::start)) {
    case TextAlign::right:
    case TextAlign::end:
      return LineAlignment::trailing;
    case TextAlign::center:
      return LineAlignment::center;
    default:
      return LineAlignment::leading;
  }
}

}  // namespace

TextStyle styleOf(const documents::TextData& data, const std::optional<std::string>& customFamily) {
  TextStyle style;
  style.family = customFamily;
  style.size = data.fontSize.value_or(style.size);
  style.weight = data.fontWeight.value_or(style.weight);
  style.isItalic = data.fontStyle == documents::FontStyle::italic;
  if (data.color) style.color = colorFromHex(*data.color);
  style.alignment = alignmentOf(data.textAlign);
  if (data.maxLines.value_or(0) > 0) style.lineLimit = data.maxLines;
  // "ellipsis" cuts in the middle on purpose; campaigns are composed with that in view.
  if (data.overflow == documents::TextOverflow::ellipsis) style.truncation = Truncation::middle;
  return style;
}

}  // namespace sorn::layout
