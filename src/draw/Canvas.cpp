#include "draw/Canvas.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "draw/Gradients.h"
#include "draw/Handles.h"
#include "draw/Images.h"
#include "draw/PangoText.h"
#include "draw/PangoTextMeasure.h"
#include "draw/Shadow.h"
#include "draw/Shapes.h"

namespace sorn::draw {

namespace {

using layout::Rect;

// Executes the commands of one list, one after the other. What is not visible never reaches Cairo.
class Painter {
 public:
  Painter(const layout::DisplayList& list, cairo_t* context, double scale, const Frame& frame)
      : list_(list), context_(context), scale_(scale), frame_(frame) {
    Rect clip;
    cairo_clip_extents(context, &clip.x, &clip.y, &clip.width, &clip.height);
    clip.width -= clip.x;
    clip.height -= clip.y;
    visible_.push_back(intersection(clip, {0, 0, list.size.width, list.size.height}));
  }

  void run() {
    cairo_save(context_);
    for (const layout::Command& command : list_.commands) std::visit(*this, command);
    while (visible_.size() > 1) leave();
    cairo_restore(context_);
  }

  void operator()(const layout::FillShape& command) {
    const auto rect = onSurface(command.shape.rect, visible(), scale_);
    if (!rect || !isVisible(*rect)) return;
    setPaint(context_, command.paint, layout::onPixels(intersection(*rect, visible()), scale_), scale_);
    appendPath(context_, *rect, command.shape.corners);
    cairo_fill(context_);
  }

  void operator()(const layout::StrokeShape& command) {
    const auto rect = onSurface(command.shape.rect, visible(), scale_);
    if (!rect || !(command.width > 0)) return;
    const double width = std::min(command.width, farthestPixel / scale_);
    if (!isVisible(grownBy(*rect, width / 2))) return;
    setColor(context_, command.color);
    appendPath(context_, *rect, command.shape.corners);
    stroke(width, CAIRO_LINE_CAP_BUTT);
  }

  void operator()(const layout::BeginClip& command) {
    const auto rect = onSurface(command.shape.rect, visible(), scale_);
    enter(rect.value_or(Rect{}), command.shape.corners);
  }

  void operator()(const layout::EndClip&) { leave(); }

  void operator()(const layout::BeginScroll& command) {
    if (command.area >= list_.scrollAreas.size()) return enter(Rect{}, {});
    const auto viewport = onSurface(list_.scrollAreas[command.area].viewport, visible(), scale_);
    enter(viewport.value_or(Rect{}), {});
    const double offset = command.area < frame_.scrollOffsets.size() ? frame_.scrollOffsets[command.area] : 0;
    if (isEmpty(visible()) || !std::isfinite(offset)) return;
    const double moved = std::round(offset * scale_) / scale_;  // what lies on pixels stays on them
    cairo_translate(context_, 0, -moved);
    visible_.back().y += moved;
  }

  void operator()(const layout::EndScroll&) { leave(); }

  void operator()(const layout::DrawText& command) {
    if (command.text == nullptr) return;
    const auto rect = onSurface(command.rect, visible(), scale_);
    // Letters may hang over the edges of their lines.
    const double overhang = fontSizeOf(command.text->run().style);
    if (!rect || isEmpty(*rect) || !isVisible(grownBy(*rect, overhang))) return;
    const Rect place = layout::onPixels(command.rect, scale_);
    const Rect area = grownBy(visible(), overhang);
    if (auto* text = dynamic_cast<PangoText*>(command.text.get())) {
      return text->draw(context_, place, command.offered, area);
    }
    // Measured by something that cannot draw.
    const auto text = PangoTextMeasure(scale_).prepare(command.text->run());
    static_cast<PangoText&>(*text).draw(context_, place, command.offered, area);
  }

  void operator()(const layout::DrawImage& command) {
    const auto rect = onSurface(command.rect, visible(), scale_);
    if (!rect || !isVisible(*rect)) return;
    const ImageState state = command.slot < frame_.images.size() ? frame_.images[command.slot] : Loading{};
    if (const auto* picture = std::get_if<std::shared_ptr<const Picture>>(&state)) {
      const Picture& shown = *picture ? **picture : *brokenPicture();
      drawPicture(context_, shown, pictureFrame(shown.size(), *rect, command.contentMode), *rect, scale_);
    } else {
      drawSpinner(context_, *rect, frame_.spinnerTurn);
    }
  }

  void operator()(const layout::DrawShadow& command) {
    const auto rect = onSurface(command.shape.rect, visible(), scale_);
    if (!rect || !isVisible(grownBy(*rect, reachOf(command, scale_)))) return;
    drawShadow(context_, command, *rect, visible(), scale_);
  }

  void operator()(const layout::DrawLine& command) {
    const auto& [from, to, width, color] = command;
    const Rect box{std::min(from.x, to.x), std::min(from.y, to.y), std::abs(from.x - to.x),
                   std::abs(from.y - to.y)};
    const Rect countable = grownBy(visible(), farthestPixel / scale_);
    const bool isDrawable =
        width > 0 && width < countable.width && countable.contains(from) && countable.contains(to);
    if (!isDrawable || !isVisible(grownBy(box, width / 2))) return;
    setColor(context_, color);
    cairo_move_to(context_, from.x, from.y);
    cairo_line_to(context_, to.x, to.y);
    stroke(width, CAIRO_LINE_CAP_ROUND);
  }

 private:
  const Rect& visible() const { return visible_.back(); }
  bool isVisible(const Rect& rect) const { return !isEmpty(intersection(rect, visible())); }

  void stroke(double width, cairo_line_cap_t cap) {
    cairo_set_line_width(context_, width);
    cairo_set_line_cap(context_, cap);
    cairo_set_line_join(context_, CAIRO_LINE_JOIN_MITER);
    cairo_set_miter_limit(context_, 10);
    cairo_stroke(context_);
  }

  // Where nothing is visible any more, Cairo need not know of the clip.
  void enter(const Rect& rect, const layout::RoundedCorners& corners) {
    visible_.push_back(intersection(rect, visible()));
    if (isEmpty(visible())) return;
    cairo_save(context_);
    appendPath(context_, rect, corners);
    cairo_clip(context_);
  }

  void leave() {
    if (visible_.size() == 1) return;
    if (!isEmpty(visible())) cairo_restore(context_);
    visible_.pop_back();
  }

  const layout::DisplayList& list_;
  cairo_t* context_;
  double scale_;
  const Frame& frame_;
  std::vector<Rect> visible_;  // what the clips leave, from the outside in
};

double sensible(double scale) {
  return std::isfinite(scale) && scale > 0 ? std::clamp(scale, 0.01, 100.0) : 1;
}

int pixelsOf(double length, double scale) {
  const double pixels = std::ceil(length * scale - 1e-6);
  return pixels >= 1 ? static_cast<int>(std::min(pixels, static_cast<double>(longestRenderedSide))) : 0;
}

}  // namespace

void execute(const layout::DisplayList& list, cairo_t* context, double scale, const Frame& frame) {
  Painter(list, context, sensible(scale), frame).run();
}

Pixels renderToPixels(layout::Size size, double scale, const std::function<void(cairo_t*)>& paint) {
  scale = sensible(scale);
  Pixels pixels{pixelsOf(size.width, scale), pixelsOf(size.height, scale), {}};
  pixels.height =
      static_cast<int>(std::min<long long>(pixels.height, mostPicturePixels / std::max(pixels.width, 1)));
  pixels.argb.resize(static_cast<std::size_t>(pixels.width) * pixels.height);
  if (pixels.argb.empty()) return {};
  auto* bytes = static_cast<unsigned char*>(static_cast<void*>(pixels.argb.data()));
  const Surface surface(cairo_image_surface_create_for_data(bytes, CAIRO_FORMAT_ARGB32, pixels.width,
                                                            pixels.height, pixels.width * 4));
  const Drawing context(cairo_create(surface.get()));
  cairo_scale(context.get(), scale, scale);
  paint(context.get());
  cairo_surface_finish(surface.get());
  return pixels;
}

Pixels renderToPixels(const layout::DisplayList& list, double scale, const Frame& frame) {
  return renderToPixels(list.size, scale, [&](cairo_t* context) { execute(list, context, scale, frame); });
}

}  // namespace sorn::draw
