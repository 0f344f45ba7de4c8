#include "draw/Images.h"

#include <algorithm>
#include <cmath>

#include "draw/Shapes.h"

namespace sorn::draw {

namespace {

constexpr double spinnerSize = 37;
constexpr layout::Color spinnerColor{0.576, 0.612, 0.651, 1};
constexpr int spokes = 12;
constexpr double faintestSpoke = 0.1;

}  // namespace

layout::Rect pictureFrame(layout::Size picture, const layout::Rect& rect, documents::ImageContentMode mode) {
  const double horizontal = rect.width / picture.width;
  const double vertical = rect.height / picture.height;
  const bool isFitted = mode == documents::ImageContentMode::fit;
  const double factor = isFitted ? std::min(horizontal, vertical) : std::max(horizontal, vertical);
  return layout::placed({picture.width * factor, picture.height * factor}, rect, layout::Placement::center);
}

void drawPicture(cairo_t* context, const Picture& picture, const layout::Rect& frame,
                 const layout::Rect& rect, double scale) {
  const layout::Rect place = layout::onPixels(frame, scale);
  const layout::Rect shown = intersection(place, rect);
  if (isEmpty(shown)) return;
  const double width = std::round(place.width * scale);
  const double height = std::round(place.height * scale);
  const bool isSmaller = width < picture.pixelWidth() && height < picture.pixelHeight();
  const Surface surface(isSmaller ? picture.scaledDown(static_cast<int>(width), static_cast<int>(height))
                                  : cairo_surface_reference(picture.surface()));
  setPicture(context, surface.get(), place, CAIRO_FILTER_GOOD);
  cairo_rectangle(context, shown.x, shown.y, shown.width, shown.height);
  cairo_fill(context);
}

void drawSpinner(cairo_t* context, const layout::Rect& rect, double turns) {
  const double size = std::min({spinnerSize, rect.width, rect.height});
  cairo_save(context);
  cairo_translate(context, rect.x + rect.width / 2, rect.y + rect.height / 2);
  cairo_set_line_width(context, size * 0.08);
  cairo_set_line_cap(context, CAIRO_LINE_CAP_ROUND);
  for (int i = 0; i < spokes; ++i) {
    // The spoke at the turn's place is the strongest; those that it has passed fade.
    const double behind = std::isfinite(turns) ? turns - static_cast<double>(i) / spokes : 0;
    const double age = behind - std::floor(behind);
    layout::Color color = spinnerColor;
    color.alpha = std::max(1 - age, faintestSpoke);
    setColor(context, color);
    const double angle = 2 * M_PI * i / spokes - M_PI / 2;
    cairo_move_to(context, std::cos(angle) * size * 0.25, std::sin(angle) * size * 0.25);
    cairo_line_to(context, std::cos(angle) * size * 0.45, std::sin(angle) * size * 0.45);
    cairo_stroke(context);
  }
  cairo_restore(context);
}

}  // namespace sorn::draw
