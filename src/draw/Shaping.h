#pragma once

#include <string_view>

#include "draw/Fonts.h"
#include "draw/LineBreaks.h"

namespace sorn::draw {

// How much of a text is shaped, in bytes; what lies behind is left out, with "…" in its place. Pango shapes
// so much in 5 to 25 ms, and in about 50 where each letter changes the direction or the font.
inline constexpr std::size_t mostShapedBytes = 32'768;

// Shapes a text without wrapping it. Bytes that are no UTF-8 come out as replacement characters.
ShapedText shape(std::string_view text, const PangoTextMeasure::Fonts& fonts,
                 const PangoFontDescription* font, double fontSize);

}  // namespace sorn::draw
