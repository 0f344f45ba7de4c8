#include "BareDrawing.h"

#include <cmath>
#include <cstdlib>

#include <pango/pangocairo.h>

#include "Offer.h"

namespace sorn::bench {

namespace {

void setColor(cairo_t* context, const char* hex) {
  const auto value = std::strtoul(hex + 1, nullptr, 16);
  const auto channel = [value](int shift) { return static_cast<double>(value >> shift & 255) / 255; };
  cairo_set_source_rgb(context, channel(16), channel(8), channel(0));
}

PangoLayout* layoutOf(cairo_t* context, const char* text, int size, int weight) {
  PangoLayout* layout = pango_cairo_create_layout(context);
  PangoFontDescription* font = pango_font_description_new();
  pango_font_description_set_family(font, offerFamily);
  pango_font_description_set_absolute_size(font, size * PANGO_SCALE);
  pango_font_description_set_weight(font, static_cast<PangoWeight>(weight));
  pango_layout_set_font_description(layout, font);
  pango_font_description_free(font);
  pango_layout_set_text(layout, text, -1);
  return layout;
}

void drawGround(cairo_t* context) {
  cairo_pattern_t* ground = cairo_pattern_create_linear(0, 0, 0, offerHeight);
  cairo_pattern_add_color_stop_rgb(ground, 0, 1, 1, 1);
  cairo_pattern_add_color_stop_rgb(ground, 1, 0xE0 / 255.0, 0xE7 / 255.0, 0xF0 / 255.0);
  cairo_set_source(context, ground);
  cairo_paint(context);
  cairo_pattern_destroy(ground);
}

void drawHero(cairo_t* context, cairo_surface_t* picture) {
  const double width = cairo_image_surface_get_width(picture);
  const double height = cairo_image_surface_get_height(picture);
  const double factor = std::fmax(offerWidth / width, offerHeroHeight / height);
  cairo_save(context);
  cairo_rectangle(context, 0, 0, offerWidth, offerHeroHeight);
  cairo_clip(context);
  cairo_translate(context, (offerWidth - width * factor) / 2, (offerHeroHeight - height * factor) / 2);
  cairo_scale(context, factor, factor);
  cairo_set_source_surface(context, picture, 0, 0);
  cairo_pattern_set_filter(cairo_get_source(context), CAIRO_FILTER_GOOD);
  cairo_paint(context);
  cairo_restore(context);
}

void drawTexts(cairo_t* context) {
  double y = offerHeroHeight;
  for (const OfferText& text : offerTexts) {
    y += offerGap;
    PangoLayout* layout = layoutOf(context, text.text, text.size, text.weight);
    pango_layout_set_width(layout, (offerWidth - 2 * offerMargin) * PANGO_SCALE);
    setColor(context, text.color);
    cairo_move_to(context, offerMargin, y);
    pango_cairo_show_layout(context, layout);
    int height = 0;
    pango_layout_get_pixel_size(layout, nullptr, &height);
    y += height;
    g_object_unref(layout);
  }
}

void drawButton(cairo_t* context) {
  const double left = offerMargin;
  const double right = offerWidth - offerMargin;
  const double bottom = offerHeight - offerMargin;
  const double top = bottom - offerButtonHeight;
  const double radius = offerButtonRadius;
  cairo_new_path(context);
  cairo_arc(context, right - radius, top + radius, radius, -M_PI / 2, 0);
  cairo_arc(context, right - radius, bottom - radius, radius, 0, M_PI / 2);
  cairo_arc(context, left + radius, bottom - radius, radius, M_PI / 2, M_PI);
  cairo_arc(context, left + radius, top + radius, radius, M_PI, 3 * M_PI / 2);
  cairo_close_path(context);
  setColor(context, offerButton);
  cairo_fill(context);
  PangoLayout* label = layoutOf(context, offerLabel, offerLabelSize, 600);
  int width = 0;
  int height = 0;
  pango_layout_get_pixel_size(label, &width, &height);
  cairo_set_source_rgb(context, 1, 1, 1);
  cairo_move_to(context, (offerWidth - width) / 2.0, top + (offerButtonHeight - height) / 2.0);
  pango_cairo_show_layout(context, label);
  g_object_unref(label);
}

}  // namespace

cairo_surface_t* drawOfferBare(cairo_surface_t* picture) {
  cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, offerWidth, offerHeight);
  cairo_t* context = cairo_create(surface);
  drawGround(context);
  drawHero(context, picture);
  drawTexts(context);
  drawButton(context);
  cairo_destroy(context);
  return surface;
}

}  // namespace sorn::bench
