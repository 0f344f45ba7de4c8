#include "draw/Fonts.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <string>

namespace sorn::draw {

namespace {

constexpr double smallestFont = 0.1;
constexpr double largestFont = 2000;

PangoWeight weightOf(documents::FontWeight weight) {
  using enum documents::FontWeight;
  switch (weight) {
    case thin:
      return PANGO_WEIGHT_THIN;
    case extraLight:
      return PANGO_WEIGHT_ULTRALIGHT;
    case light:
      return PANGO_WEIGHT_LIGHT;
    case normal:
      return PANGO_WEIGHT_NORMAL;
    case medium:
      return PANGO_WEIGHT_MEDIUM;
    case semiBold:
      return PANGO_WEIGHT_SEMIBOLD;
    case bold:
      return PANGO_WEIGHT_BOLD;
    case extraBold:
      return PANGO_WEIGHT_ULTRABOLD;
    case black:
      return PANGO_WEIGHT_HEAVY;
  }
  return PANGO_WEIGHT_NORMAL;
}

// Metrics and positions are not rounded to pixels, so that a layout is the same at every scale.
TextContext contextFor(PangoDirection direction) {
  TextContext context(pango_font_map_create_context(pango_cairo_font_map_get_default()));
  const FontOptions options(cairo_font_options_create());
  cairo_font_options_set_hint_metrics(options.get(), CAIRO_HINT_METRICS_OFF);
  cairo_font_options_set_hint_style(options.get(), CAIRO_HINT_STYLE_NONE);
  cairo_font_options_set_antialias(options.get(), CAIRO_ANTIALIAS_GRAY);
  pango_cairo_context_set_font_options(context.get(), options.get());
  pango_context_set_round_glyph_positions(context.get(), FALSE);
  pango_context_set_base_dir(context.get(), direction);
  return context;
}

}  // namespace

PangoTextMeasure::Fonts::Fonts()
    : leftToRight(contextFor(PANGO_DIRECTION_LTR)), rightToLeft(contextFor(PANGO_DIRECTION_RTL)) {}

TextLayout PangoTextMeasure::Fonts::layout(std::string_view text, const PangoFontDescription* font,
                                           bool isRightToLeft) const {
  TextLayout layout(pango_layout_new(isRightToLeft ? rightToLeft.get() : leftToRight.get()));
  pango_layout_set_auto_dir(layout.get(), FALSE);
  pango_layout_set_font_description(layout.get(), font);
  pango_layout_set_single_paragraph_mode(layout.get(), TRUE);
  pango_layout_set_text(layout.get(), text.data(), static_cast<int>(text.size()));
  return layout;
}

double fontSizeOf(const layout::TextStyle& style) {
  return std::isnan(style.size) ? smallestFont : std::clamp(style.size, smallestFont, largestFont);
}

FontDescription fontOf(const layout::TextStyle& style) {
  FontDescription font(pango_font_description_new());
  const std::string family = style.family.value_or("Sans");
  const std::unique_ptr<char, decltype(&g_free)> valid(
      g_utf8_make_valid(family.data(), static_cast<gssize>(family.size())), g_free);
  pango_font_description_set_family(font.get(), valid.get());
  pango_font_description_set_absolute_size(font.get(), fontSizeOf(style) * PANGO_SCALE);
  pango_font_description_set_weight(font.get(), weightOf(style.weight));
  pango_font_description_set_style(font.get(), style.isItalic ? PANGO_STYLE_ITALIC : PANGO_STYLE_NORMAL);
  return font;
}

}  // namespace sorn::draw
