#pragma once

#include <array>
#include <memory>
#include <optional>
#include <vector>

#include "draw/Fonts.h"
#include "draw/LineBreaks.h"

namespace sorn::draw {

// A text that Pango has shaped. It is shaped once, at the first question that needs it; a question is then
// arithmetic, and the last few answers are kept with the lines that were drawn for them.
class PangoText : public layout::PreparedText {
 public:
  PangoText(layout::TextRun run, std::shared_ptr<const PangoTextMeasure::Fonts> fonts, double scale);

  layout::Size sizeFor(const layout::Proposal& proposal) override;

  // Draws what was measured for `offered` at the top of the rectangle, as far as it is visible.
  void draw(cairo_t* context, const layout::Rect& rect, const layout::Proposal& offered,
            const layout::Rect& visible);

 private:
  // What is shown for one offer.
  struct Answer {
    double width = 0;
    double height = 0;
    layout::Size size;
    std::vector<TextLine> lines;
    std::vector<TextLayout>
        layouts;  // of each line, once it has been drawn; that of a cut line from the start
  };

  const ShapedText& shaped();
  Answer& answerFor(const layout::Proposal& proposal);
  Answer compute(double width, double height);
  void cutLastLine(Answer& answer, double width);
  TextLayout cutLine(const TextLine& line, double width);
  double ellipsisWidth();
  TextLayout layoutOf(std::string_view text, const TextLine& line);

  std::shared_ptr<const PangoTextMeasure::Fonts> fonts_;
  double scale_;
  FontDescription font_;
  std::optional<ShapedText> shaped_;
  std::optional<double> ellipsisWidth_;
  // The latest first. Few, since an engine that remembers its own answers asks for each size once or twice.
  std::vector<std::unique_ptr<Answer>> answers_;
};

}  // namespace sorn::draw
