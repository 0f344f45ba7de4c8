#include "draw/Gradients.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <vector>

#include "draw/Shapes.h"

namespace sorn::draw {

namespace {

using layout::Color;
using layout::LinearGradient;
using layout::RadialGradient;

// A surface beyond this is left to Cairo's own gradient, which needs no memory.
constexpr double longestBuffer = 8'192;
constexpr std::size_t tableSize = 1'024;
using Table = std::array<std::uint32_t, tableSize>;

std::uint32_t premultiplied(const Color& color) {
  const double alpha = std::clamp(color.alpha, 0.0, 1.0);
  const auto channel = [](double value) { return static_cast<std::uint32_t>(std::lround(value * 255)); };
  const auto scaled = [&](double value) { return channel(std::clamp(value, 0.0, 1.0) * alpha); };
  return channel(alpha) << 24 | scaled(color.red) << 16 | scaled(color.green) << 8 | scaled(color.blue);
}

Color mixed(const Color& a, const Color& b, double share) {
  const auto mix = [share](double from, double to) { return from + (to - from) * share; };
  return {mix(a.red, b.red), mix(a.green, b.green), mix(a.blue, b.blue), mix(a.alpha, b.alpha)};
}

// Evenly spread; mixed before the multiplication by alpha, as Cairo does.
Table tableOf(const std::vector<Color>& colors) {
  Table table;
  const std::size_t steps = colors.size() - 1;
  for (std::size_t i = 0; i < tableSize; ++i) {
    const double at = static_cast<double>(i * steps) / (tableSize - 1);
    const std::size_t before = std::min(static_cast<std::size_t>(at), steps - 1);
    table[i] = premultiplied(mixed(colors[before], colors[before + 1], at - static_cast<double>(before)));
  }
  return table;
}

void addStops(cairo_pattern_t* pattern, const std::vector<Color>& colors) {
  for (std::size_t i = 0; i < colors.size(); ++i) {
    const auto& [red, green, blue, alpha] = colors[i];
    const double at = static_cast<double>(i) / static_cast<double>(colors.size() - 1);
    cairo_pattern_add_color_stop_rgba(pattern, at, red, green, blue, alpha);
  }
}

// One row of the picture. `x` is the first pixel's distance from the centre, both it and `step` in steps of
// the table; the square of the row's own distance is `ySquared`.
void fillRow(std::uint32_t* row, int width, float x, float step, float ySquared, const Table& table) {
  constexpr auto last = static_cast<float>(tableSize - 1);
  constexpr float toNearest = 0.5F;
  for (int i = 0; i < width; ++i) {
    const float dx = x + static_cast<float>(i) * step;
    const float distance = std::min(std::sqrt(dx * dx + ySquared), last);
    row[i] = table[static_cast<std::size_t>(distance + toNearest)];
  }
}

// The gradient by a table of its colours, pixel by pixel: Cairo solves an equation for each.
Surface radialSurface(const RadialGradient& gradient, const layout::Rect& area, double scale) {
  const int width = static_cast<int>(std::lround(area.width * scale));
  const int height = static_cast<int>(std::lround(area.height * scale));
  Surface surface = imageSurface(width, height);
  if (!isSound(surface)) return surface;
  const Table table = tableOf(gradient.colors);
  const double steps = (tableSize - 1) / gradient.radius;
  const double left = (area.x + 0.5 / scale - gradient.center.x) * steps;
  for (int y = 0; y < height; ++y) {
    const double dy = (area.y + (y + 0.5) / scale - gradient.center.y) * steps;
    fillRow(rowOf(surface.get(), y), width, static_cast<float>(left), static_cast<float>(steps / scale),
            static_cast<float>(dy * dy), table);
  }
  cairo_surface_mark_dirty(surface.get());
  return surface;
}

struct PaintSetter {
  cairo_t* context;
  const layout::Rect& area;
  double scale;

  void operator()(const Color& color) const { setColor(context, color); }

  void operator()(const LinearGradient& gradient) const {
    const auto& [from, to, colors] = gradient;
    const bool isDrawable = std::isfinite(from.x + from.y + to.x + to.y) && !(from == to);
    if (!isDrawable || colors.size() < 2) return setLast(colors);
    const Pattern pattern(cairo_pattern_create_linear(from.x, from.y, to.x, to.y));
    addStops(pattern.get(), colors);
    cairo_set_source(context, pattern.get());
  }

  void operator()(const RadialGradient& gradient) const {
    const auto& [center, radius, colors] = gradient;
    const bool isDrawable = std::isfinite(center.x + center.y + radius) && radius > 0;
    if (!isDrawable || colors.size() < 2) return setLast(colors);
    if (std::max(area.width, area.height) * scale <= longestBuffer) {
      const Surface surface = radialSurface(gradient, area, scale);
      return setPicture(context, surface.get(), area, CAIRO_FILTER_NEAREST);
    }
    const Pattern pattern(cairo_pattern_create_radial(center.x, center.y, 0, center.x, center.y, radius));
    addStops(pattern.get(), colors);
    cairo_set_source(context, pattern.get());
  }

  // A gradient without a length shows what goes on behind its end.
  void setLast(const std::vector<Color>& colors) const {
    setColor(context, colors.empty() ? layout::clear : colors.back());
  }
};

}  // namespace

void setPaint(cairo_t* context, const layout::Paint& paint, const layout::Rect& area, double scale) {
  std::visit(PaintSetter{context, area, scale}, paint);
}

}  // namespace sorn::draw
