#include "draw/PangoText.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "draw/Shaping.h"

namespace sorn::draw {

namespace {

constexpr std::size_t mostAnswers = 4;
constexpr double infinity = std::numeric_limits<double>::infinity();

// An offered length, with what no length can be taken for the nearest that can.
double lengthOf(const std::optional<double>& offered) {
  if (!offered) return infinity;
  return std::isnan(*offered) ? 0 : std::max(*offered, 0.0);
}

double shareBefore(layout::LineAlignment alignment) {
  switch (alignment) {
    case layout::LineAlignment::leading:
      return 0;
    case layout::LineAlignment::center:
      return 0.5;
    case layout::LineAlignment::trailing:
      return 1;
  }
  return 0;
}

}  // namespace

PangoText::PangoText(layout::TextRun run, std::shared_ptr<const PangoTextMeasure::Fonts> fonts, double scale)
    : PreparedText(std::move(run)),
      fonts_(std::move(fonts)),
      scale_(scale),
      font_(fontOf(this->run().style)) {}

const ShapedText& PangoText::shaped() {
  if (!shaped_) shaped_ = shape(run().text, *fonts_, font_.get(), fontSizeOf(run().style));
  return *shaped_;
}

layout::Size PangoText::sizeFor(const layout::Proposal& proposal) {
  const bool isNothing = proposal.width == 0 && proposal.height == 0;
  return run().text.empty() || isNothing ? layout::Size{} : answerFor(proposal).size;
}

PangoText::Answer& PangoText::answerFor(const layout::Proposal& proposal) {
  const double width = lengthOf(proposal.width);
  const double height = lengthOf(proposal.height);
  const auto known = std::find_if(answers_.begin(), answers_.end(), [&](const auto& answer) {
    return answer->width == width && answer->height == height;
  });
  if (known != answers_.end()) {
    std::rotate(answers_.begin(), known, known + 1);
  } else {
    if (answers_.size() == mostAnswers) answers_.pop_back();
    answers_.insert(answers_.begin(), std::make_unique<Answer>(compute(width, height)));
  }
  return *answers_.front();
}

PangoText::Answer PangoText::compute(double width, double height) {
  LineBounds bounds{.height = height};
  if (run().style.lineLimit)
    bounds.count = static_cast<std::size_t>(std::max<std::int64_t>(*run().style.lineLimit, 1));
  Lines broken = breakLines(shaped(), width, bounds);
  Answer answer{
      .width = width, .height = height, .size = {}, .lines = std::move(broken.lines), .layouts = {}};
  answer.layouts.resize(answer.lines.size());
  // A line without width shows nothing that could be cut.
  if (!broken.isWhole && width > 0) cutLastLine(answer, width);
  for (const TextLine& line : answer.lines) {
    answer.size.width = std::max(answer.size.width, line.width);
    answer.size.height += line.height;
  }
  const auto roundedUp = [this](double length) { return std::ceil(length * scale_ - 1e-6) / scale_; };
  answer.size = {width > 0 ? roundedUp(answer.size.width) : 0, roundedUp(answer.size.height)};
  return answer;
}

void PangoText::cutLastLine(Answer& answer, double width) {
  TextLine& line = answer.lines.back();
  TextLayout cut = cutLine(line, width);
  PangoRectangle extents;
  pango_layout_get_extents(cut.get(), nullptr, &extents);
  line.width = pango_units_to_double(extents.width);
  line.ascent = pango_units_to_double(pango_layout_get_baseline(cut.get()));
  line.height = pango_units_to_double(extents.height);
  answer.layouts.back() = std::move(cut);
}

TextLayout PangoText::cutLine(const TextLine& line, double width) {
  const auto ellipsized = [&](const std::string& text) {
    TextLayout cut = layoutOf(text, line);
    const bool isMiddle = run().style.truncation == layout::Truncation::middle;
    pango_layout_set_ellipsize(cut.get(), isMiddle ? PANGO_ELLIPSIZE_MIDDLE : PANGO_ELLIPSIZE_END);
    if (std::isfinite(width))
      pango_layout_set_width(cut.get(), pango_units_from_double(std::min(width, 1e6)));
    return cut;
  };
  TextLayout cut = ellipsized(restFor(line, width));
  // Where only line ends stand in the way, the rest may fit into one line; then "…" takes the first one's
  // place.
  if (pango_layout_is_ellipsized(cut.get()) == FALSE) cut = ellipsized(restWithEllipsis(line));
  return cut;
}

// What follows from the line on, as one line, without most of what would be cut out anyway: shaping it all
// for each width would be waste.
std::string PangoText::restFor(const TextLine& line, double width) {
  const std::vector<Cluster>& clusters = shaped().clusters;
  const double enough = width + 4 * fontSizeOf(run().style);
  std::size_t head = line.firstCluster;
  for (double x = 0; head < clusters.size() && x <= enough; ++head) x += clusters[head].advance;
  if (run().style.truncation == layout::Truncation::tail || head == clusters.size()) {
    return joinedText(shaped(), line.firstCluster, head);
  }
  std::size_t tail = clusters.size();
  for (double x = 0; tail > head && x <= enough; --tail) x += clusters[tail - 1].advance;
  return joinedText(shaped(), line.firstCluster, head) + joinedText(shaped(), tail, clusters.size());
}

std::string PangoText::restWithEllipsis(const TextLine& line) {
  const Paragraph& paragraph = shaped().paragraphs[line.paragraph];
  std::string rest = shaped().text.substr(line.start, paragraph.end - line.start) + "…";
  if (run().style.truncation == layout::Truncation::middle) {
    rest += joinedText(shaped(), paragraph.endCluster, shaped().clusters.size());
  }
  return rest;
}

TextLayout PangoText::layoutOf(std::string_view text, const TextLine& line) {
  return fonts_->layout(text, font_.get(), shaped().paragraphs[line.paragraph].isRightToLeft);
}

void PangoText::draw(cairo_t* context, const layout::Rect& rect, const layout::Proposal& offered,
                     const layout::Rect& visible) {
  if (run().text.empty()) return;
  Answer& answer = answerFor(offered);
  if (answer.size.width <= 0) return;
  const layout::Color& color = run().style.color;
  cairo_set_source_rgba(context, color.red, color.green, color.blue, color.alpha);
  double y = rect.y;
  for (std::size_t i = 0; i < answer.lines.size() && y < visible.maxY(); ++i) {
    const TextLine& line = answer.lines[i];
    const double x = rect.x + (rect.width - line.width) * shareBefore(run().style.alignment);
    if (y + line.height > visible.y && x < visible.maxX() && x + line.width > visible.x) {
      TextLayout& layout = answer.layouts[i];
      if (!layout)
        layout = layoutOf(std::string_view(shaped().text).substr(line.start, line.end - line.start), line);
      cairo_move_to(context, x, y + line.ascent);
      pango_cairo_show_layout_line(context, pango_layout_get_line_readonly(layout.get(), 0));
    }
    y += line.height;
  }
  cairo_new_path(context);
}

}  // namespace sorn::draw
