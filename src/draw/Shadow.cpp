#include "draw/Shadow.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

#include "draw/Shapes.h"

namespace sorn::draw {

namespace {

// A blur costs time with its width; no softer shadow than this is asked for by anything of ours.
constexpr double widestBlur = 32;  // pixels of deviation

double deviationOf(const layout::DrawShadow& shadow, double scale) {
  return std::isnan(shadow.radius) ? 0 : std::clamp(shadow.radius * scale, 0.0, widestBlur);
}

int reachInPixels(double deviation) { return static_cast<int>(std::ceil(deviation * 3)); }

// The Gaussian bell from its middle to one end; the whole sums to 1.
std::vector<float> bell(double deviation) {
  std::vector<float> weights(static_cast<std::size_t>(reachInPixels(deviation)) + 1);
  float sum = 0;
  for (std::size_t i = 0; i < weights.size(); ++i) {
    const double x = static_cast<double>(i) / std::max(deviation, 1e-3);
    weights[i] = static_cast<float>(std::exp(-x * x / 2));
    sum += weights[i] * (i == 0 ? 1.0F : 2.0F);
  }
  for (float& weight : weights) weight /= sum;
  return weights;
}

// A mask of opacities. Blurring runs along its rows and turns it over its diagonal, so that doing it twice
// blurs both ways.
struct Mask {
  int width = 0;
  int height = 0;
  std::vector<float> values;

  Mask blurredAndTurned(const std::vector<float>& weights) const {
    Mask turned{height, width, std::vector<float>(values.size())};
    const int reach = static_cast<int>(weights.size()) - 1;
    for (int y = 0; y < height; ++y) {
      const float* row = values.data() + static_cast<std::ptrdiff_t>(y) * width;
      for (int x = 0; x < width; ++x) {
        float sum = 0;
        const int end = std::min(x + reach, width - 1);
        for (int i = std::max(x - reach, 0); i <= end; ++i) sum += row[i] * weights[std::abs(i - x)];
        turned.values[static_cast<std::size_t>(x) * height + y] = sum;
      }
    }
    return turned;
  }
};

// Reads or writes each byte of a surface of opacities.
template <typename Action>
void forEachByte(const Surface& surface, Action action) {
  const int width = cairo_image_surface_get_width(surface.get());
  for (int y = 0; y < cairo_image_surface_get_height(surface.get()); ++y) {
    unsigned char* row = cairo_image_surface_get_data(surface.get()) +
                         static_cast<std::ptrdiff_t>(y) * cairo_image_surface_get_stride(surface.get());
    for (int x = 0; x < width; ++x) action(row[x]);
  }
}

void blur(const Surface& surface, double deviation) {
  cairo_surface_flush(surface.get());
  Mask mask{cairo_image_surface_get_width(surface.get()), cairo_image_surface_get_height(surface.get()), {}};
  forEachByte(surface, [&](unsigned char byte) { mask.values.push_back(byte); });
  const std::vector<float> weights = bell(deviation);
  mask = mask.blurredAndTurned(weights).blurredAndTurned(weights);
  auto value = mask.values.begin();
  forEachByte(surface, [&](unsigned char& byte) {
    byte = static_cast<unsigned char>(std::lround(std::clamp(*value++, 0.0F, 255.0F)));
  });
  cairo_surface_mark_dirty(surface.get());
}

}  // namespace

double reachOf(const layout::DrawShadow& shadow, double scale) {
  return reachInPixels(deviationOf(shadow, scale)) / scale;
}

void drawShadow(cairo_t* context, const layout::DrawShadow& shadow, const layout::Rect& rect,
                const layout::Rect& visible, double scale) {
  const double reach = reachOf(shadow, scale);
  // What shines into the visible part lies within reach of it.
  const layout::Rect wanted = intersection(grownBy(rect, reach), grownBy(visible, reach));
  const layout::Rect area = layout::onPixels(wanted, scale);
  const Surface surface(cairo_image_surface_create(CAIRO_FORMAT_A8,
                                                   static_cast<int>(std::lround(area.width * scale)),
                                                   static_cast<int>(std::lround(area.height * scale))));
  if (!isSound(surface)) return;
  {
    const Drawing mask(cairo_create(surface.get()));
    cairo_scale(mask.get(), scale, scale);
    cairo_translate(mask.get(), -area.x, -area.y);
    appendPath(mask.get(), rect, shadow.shape.corners);
    cairo_fill(mask.get());
  }
  blur(surface, deviationOf(shadow, scale));
  cairo_save(context);
  cairo_translate(context, area.x, area.y);
  cairo_scale(context, 1 / scale, 1 / scale);
  setColor(context, shadow.color);
  cairo_mask_surface(context, surface.get(), 0, 0);
  cairo_restore(context);
}

}  // namespace sorn::draw
