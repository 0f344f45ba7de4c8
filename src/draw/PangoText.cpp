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

// Of a layout of one line, relative to its base line.
PangoRectangle extentsOf(const TextLayout& layout) {
  PangoRectangle extents;
  pango_layout_line_get_extents(pango_layout_get_line_readonly(layout.get(), 0), nullptr, &extents);
  return extents;
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
  const PangoRectangle extents = extentsOf(cut);
  line.width = pango_units_to_double(extents.width);
  line.ascent = -pango_units_to_double(extents.y);
  line.height = pango_units_to_double(extents.height);
  answer.layouts.back() = std::move(cut);
}

// (Pango's own ellipsis takes up the room that is left, which a line that is measured must not.)
TextLayout PangoText::cutLine(const TextLine& line, double width) {
  const ShapedText& all = shaped();
  Cut cut = cutToFit(all, line, width, ellipsisWidth(), run().style.truncation);
  for (;;) {
    std::string text = joinedText(all, line.firstCluster, cut.headEnd);
    while (text.ends_with(' ')) text.pop_back();
    text += "…";
    const std::string tail = joinedText(all, cut.tailBegin, all.clusters.size());
    text.append(tail, std::min(tail.find_first_not_of(' '), tail.size()));
    TextLayout layout = layoutOf(text, line);
    const bool isNarrowEnough = pango_units_to_double(extentsOf(layout).width) <= width + 1.0 / PANGO_SCALE;
    if (isNarrowEnough || (cut.headEnd == line.firstCluster && cut.tailBegin == all.clusters.size()))
      return layout;
    // Put together, letters may take a little more than each by itself, and line ends are blanks now.
    if (cut.headEnd > line.firstCluster) {
      --cut.headEnd;
    } else {
      ++cut.tailBegin;
    }
  }
}

double PangoText::ellipsisWidth() {
  if (!ellipsisWidth_) {
    ellipsisWidth_ = pango_units_to_double(extentsOf(fonts_->layout("…", font_.get(), false)).width);
  }
  return *ellipsisWidth_;
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
