#include <array>
#include <cmath>

#include "draw/Handles.h"
#include "draw/Picture.h"

namespace sorn::draw {

namespace {

constexpr int side = 64;
constexpr int pixelsPerPoint = 4;  // stays sharp when a frame shows it larger

// The tear: a zigzag from the frame's upper edge to its lower one.
constexpr std::array<layout::Point, 6> tear{{{41, 6}, {33, 19}, {42, 27}, {29, 37}, {37, 45}, {27, 58}}};

enum class Half { left, right };

// One piece of the torn sheet, with the tear as one of its sides.
void piecePath(cairo_t* context, Half half) {
  const double edge = half == Half::left ? 6 : 58;
  cairo_move_to(context, edge, 11);
  for (const layout::Point& point : tear)
    cairo_line_to(context, point.x, std::fmin(std::fmax(point.y, 11), 53));
  cairo_line_to(context, edge, 53);
  cairo_close_path(context);
}

// A sun over two hills.
void drawScene(cairo_t* context) {
  cairo_arc(context, 19, 23, 5, 0, 2 * M_PI);
  cairo_fill(context);
  cairo_move_to(context, 6, 53);
  cairo_line_to(context, 22, 34);
  cairo_line_to(context, 33, 46);
  cairo_line_to(context, 46, 28);
  cairo_line_to(context, 58, 43);
  cairo_line_to(context, 58, 53);
  cairo_close_path(context);
  cairo_fill(context);
}

void drawPiece(cairo_t* context, Half half) {
  cairo_save(context);
  cairo_translate(context, half == Half::left ? -1.5 : 1.5, half == Half::left ? 1.5 : -1.5);
  piecePath(context, half);
  cairo_set_source_rgb(context, 0.93, 0.94, 0.95);
  cairo_fill_preserve(context);
  cairo_save(context);
  cairo_clip(context);
  cairo_set_source_rgb(context, 0.72, 0.75, 0.78);
  drawScene(context);
  cairo_restore(context);
  piecePath(context, half);
  cairo_set_source_rgb(context, 0.576, 0.612, 0.651);
  cairo_set_line_width(context, 2.5);
  cairo_set_line_join(context, CAIRO_LINE_JOIN_ROUND);
  cairo_stroke(context);
  cairo_restore(context);
}

std::shared_ptr<const Picture> drawBroken() {
  Surface surface = imageSurface(side * pixelsPerPoint, side * pixelsPerPoint);
  const Drawing context(cairo_create(surface.get()));
  cairo_scale(context.get(), pixelsPerPoint, pixelsPerPoint);
  drawPiece(context.get(), Half::left);
  drawPiece(context.get(), Half::right);
  return std::make_shared<const Picture>(surface.release(), pixelsPerPoint);
}

}  // namespace

std::shared_ptr<const Picture> brokenPicture() {
  // Never destroyed: threads may still draw while the process ends.
  static const auto& picture = *new std::shared_ptr<const Picture>(drawBroken());
  return picture;
}

}  // namespace sorn::draw
