#include "draw/Shapes.h"

#include <algorithm>
#include <cmath>

namespace sorn::draw {

layout::Rect intersection(const layout::Rect& a, const layout::Rect& b) {
  const double x = std::max(a.x, b.x);
  const double y = std::max(a.y, b.y);
  return {x, y, std::max(std::min(a.maxX(), b.maxX()) - x, 0.0),
          std::max(std::min(a.maxY(), b.maxY()) - y, 0.0)};
}

std::optional<layout::Rect> onSurface(const layout::Rect& rect, const layout::Rect& visible, double scale) {
  const bool isRect =
      !std::isnan(rect.x + rect.y + rect.width + rect.height) && rect.width >= 0 && rect.height >= 0;
  if (!isRect) return std::nullopt;
  const double margin = farthestPixel / scale;
  const auto clampX = [&](double x) { return std::clamp(x, visible.x - margin, visible.maxX() + margin); };
  const auto clampY = [&](double y) { return std::clamp(y, visible.y - margin, visible.maxY() + margin); };
  const double x = clampX(rect.x);
  const double y = clampY(rect.y);
  return layout::onPixels({x, y, clampX(rect.maxX()) - x, clampY(rect.maxY()) - y}, scale);
}

void appendPath(cairo_t* context, const layout::Rect& rect, const layout::RoundedCorners& corners) {
  const layout::RoundedCorners radii = corners.limitedTo(rect.size());
  if (radii.areSquare()) {
    cairo_rectangle(context, rect.x, rect.y, rect.width, rect.height);
    return;
  }
  constexpr double quarter = M_PI / 2;
  const double right = rect.maxX();
  const double bottom = rect.maxY();
  cairo_new_sub_path(context);
  cairo_move_to(context, rect.x + rect.width / 2, rect.y);
  cairo_arc(context, right - radii.tr, rect.y + radii.tr, radii.tr, -quarter, 0);
  cairo_arc(context, right - radii.br, bottom - radii.br, radii.br, 0, quarter);
  cairo_arc(context, rect.x + radii.bl, bottom - radii.bl, radii.bl, quarter, 2 * quarter);
  cairo_arc(context, rect.x + radii.tl, rect.y + radii.tl, radii.tl, 2 * quarter, 3 * quarter);
  cairo_close_path(context);
}

void setPicture(cairo_t* context, cairo_surface_t* picture, const layout::Rect& frame,
                cairo_filter_t filter) {
  const Pattern pattern(cairo_pattern_create_for_surface(picture));
  const double x = cairo_image_surface_get_width(picture) / frame.width;
  const double y = cairo_image_surface_get_height(picture) / frame.height;
  cairo_matrix_t matrix;
  cairo_matrix_init(&matrix, x, 0, 0, y, -frame.x * x, -frame.y * y);
  cairo_pattern_set_matrix(pattern.get(), &matrix);
  cairo_pattern_set_filter(pattern.get(), filter);
  cairo_pattern_set_extend(pattern.get(), CAIRO_EXTEND_PAD);
  cairo_set_source(context, pattern.get());
}

void setColor(cairo_t* context, const layout::Color& color) {
  cairo_set_source_rgba(context, color.red, color.green, color.blue, color.alpha);
}

}  // namespace sorn::draw
