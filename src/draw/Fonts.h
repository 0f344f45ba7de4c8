#pragma once

#include "draw/Handles.h"
#include "draw/PangoTextMeasure.h"

namespace sorn::draw {

// Where the texts of one measure find their fonts. The direction of a line is given by the paragraph, so
// there is a context for each (changing one context's direction would shape all its texts anew).
struct PangoTextMeasure::Fonts {
  Fonts();

  // A layout of this text as one line, until it is told a width.
  TextLayout layout(std::string_view text, const PangoFontDescription* font, bool isRightToLeft) const;

  TextContext leftToRight;
  TextContext rightToLeft;
};

// The font of a style; its size is in points whatever the resolution of the screen.
FontDescription fontOf(const layout::TextStyle& style);

// The size at which the style is shown: what is no sensible size is brought into bounds.
double fontSizeOf(const layout::TextStyle& style);

}  // namespace sorn::draw
