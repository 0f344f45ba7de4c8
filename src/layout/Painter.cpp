#include "layout/Painter.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <utility>

namespace sorn::layout {

using documents::Background;
using documents::BackgroundType;
using documents::GradientType;
using documents::ImageContentMode;
using documents::SornViewType;

namespace {

bool hasCorners(const documents::SornView& node) {
  return node.cornerRadius && std::accumulate(node.cornerRadius->begin(), node.cornerRadius->end(), 0.0) > 0;
}

ImageContentMode modeOf(const documents::ImageData& data) {
  return data.contentMode.value_or(ImageContentMode::fit);
}

// The stroke reads the colour alone, whatever type of background it claims to be.
Color strokeOf(const documents::ButtonData& button) {
  return button.borderBackground && button.borderBackground->color
             ? colorFromHex(*button.borderBackground->color)
             : clear;
}

}  // namespace

void Painter::paint() {
  if (!tree_.nodes().empty()) paintNode(0);
}

void Painter::paintNode(std::size_t index) {
  const NodeBox& node = tree_.nodes()[index];
  const Rect frame = node.box->frame();
  const bool isCut = hasCorners(*node.node);
  if (node.viewport) beginScroll(node);
  if (isCut)
    list_.commands.emplace_back(BeginClip{{frame, RoundedCorners::fromClockwise(node.node->cornerRadius)}});
  paintBackground(node, frame);
  paintContent(index);
  if (isCut) list_.commands.emplace_back(EndClip{});
  if (node.node->viewType == SornViewType::button) paintBorder(node);
  if (node.viewport) endScroll();
}

void Painter::paintContent(std::size_t index) {
  const NodeBox& node = tree_.nodes()[index];
  if (node.node->viewType == SornViewType::button)
    list_.hits.add({HitTarget::Kind::button, node.box->frame(), node.node, scrollArea_});
  if (node.picture)
    list_.commands.emplace_back(
        DrawImage{node.pictureSlot.value_or(0), node.picture->frame(), modeOf(*node.node->imageData)});
  if (node.text && !node.text->text()->run().text.empty())
    list_.commands.emplace_back(DrawText{node.text->text(), node.text->frame(), node.text->offered()});
  paintChildren(index);
}

void Painter::paintChildren(std::size_t index) {
  const std::size_t end = tree_.nodes()[index].end;
  for (std::size_t child = index + 1; child < end; child = tree_.nodes()[child].end) paintNode(child);
}

void Painter::paintBackground(const NodeBox& node, const Rect& rect) {
  if (!node.node->background) return;
  const Background& background = *node.node->background;
  const Rect filled = beyondSafeArea(rect);
  switch (background.backgroundType) {
    case BackgroundType::color:
      if (background.color)
        list_.commands.emplace_back(FillShape{{filled, {}}, colorFromHex(*background.color)});
      break;
    case BackgroundType::image:
      if (node.backgroundSlot)
        list_.commands.emplace_back(DrawImage{*node.backgroundSlot, filled, modeOf(*background.imageData)});
      break;
    case BackgroundType::gradient:
      if (background.gradientData) paintGradient(*background.gradientData, filled);
  }
}

void Painter::paintGradient(const documents::GradientData& gradient, const Rect& rect) {
  std::vector<Color> colors;
  colors.reserve(gradient.gradientColors.size());
  for (const std::string& text : gradient.gradientColors) colors.push_back(colorFromHex(text));
  if (colors.empty()) return;
  const auto fill = [&](Paint paint) {
    list_.commands.emplace_back(FillShape{{rect, {}}, std::move(paint)});
  };
  if (colors.size() == 1) return fill(colors.front());

  const Point middle{rect.x + rect.width / 2, rect.y + rect.height / 2};
  switch (gradient.gradientType) {
    // No gradient turns about a centre here: "sweep" runs from side to side on purpose.
    case GradientType::linear:
    case GradientType::horizontal:
    case GradientType::sweep:
      return fill(LinearGradient{{rect.x, middle.y}, {rect.maxX(), middle.y}, std::move(colors)});
    case GradientType::vertical:
      return fill(LinearGradient{{middle.x, rect.y}, {middle.x, rect.maxY()}, std::move(colors)});
    case GradientType::radial:
      return fill(RadialGradient{middle, std::min(rect.width, rect.height) / 2, std::move(colors)});
  }
}

void Painter::paintBorder(const NodeBox& node) {
  if (!node.node->buttonData) return;
  const documents::ButtonData& button = *node.node->buttonData;
  const double width = std::clamp(button.border.value_or(0), 0.0, 1e6);
  const Color color = strokeOf(button);
  if (width <= 0 || color.alpha <= 0) return;
  const Shape shape{node.box->frame(), RoundedCorners::fromClockwise(node.node->cornerRadius)};
  list_.commands.emplace_back(StrokeShape{shape, width, color});
}

void Painter::beginScroll(const NodeBox& node) {
  const Rect viewport = node.viewport->frame();
  const double content = node.scrolled->frame().height;
  list_.commands.emplace_back(BeginScroll{list_.scrollAreas.size()});
  list_.scrollAreas.push_back({viewport, content});
  scrollArea_ = list_.hits.addArea({viewport, scrollArea_});
}

void Painter::endScroll() {
  list_.commands.emplace_back(EndScroll{});
  scrollArea_ = list_.hits.parentOf(*scrollArea_);
}

Rect Painter::beyondSafeArea(const Rect& rect) const {
  constexpr double tolerance = 0.5;
  const Rect& safe = area_.safe;
  const Rect& container = area_.container;
  const auto moved = [](double edge, double safeEdge, double end, double outwards) {
    const bool isAtEdge = (edge - safeEdge) * outwards >= -tolerance;
    const bool isInside = (end - edge) * outwards >= 0;
    return isAtEdge && isInside ? end : edge;
  };
  const double x = moved(rect.x, safe.x, container.x, -1);
  const double y = moved(rect.y, safe.y, container.y, -1);
  const double maxX = moved(rect.maxX(), safe.maxX(), container.maxX(), 1);
  const double maxY = moved(rect.maxY(), safe.maxY(), container.maxY(), 1);
  return {x, y, maxX - x, maxY - y};
}

}  // namespace sorn::layout
