#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "documents/SornView.h"
#include "layout/Color.h"
#include "layout/Geometry.h"

namespace sorn::layout {

enum class LineAlignment : std::uint8_t { leading, center, trailing };
enum class Truncation : std::uint8_t { tail, middle };

// How a text looks: what a document says of it, with everything that it leaves open decided.
struct TextStyle {
  std::optional<std::string> family;  // absent: the system's font
  double size = 14;                   // points
  documents::FontWeight weight = documents::FontWeight::normal;
  bool isItalic = false;
  Color color = black;
  LineAlignment alignment = LineAlignment::leading;
  std::optional<std::int64_t> lineLimit;  // at least 1; absent: no bound
  Truncation truncation = Truncation::tail;

  bool operator==(const TextStyle&) const = default;
};

// The style that a node's text data asks for. `customFamily` is the family that the host chose for all texts.
TextStyle styleOf(const documents::TextData& data, const std::optional<std::string>& customFamily);

// One text with its style.
struct TextRun {
  std::string text;
  TextStyle style;

  bool operator==(const TextRun&) const = default;
};

// A text that a measure has taken up: it answers proposals, and whoever draws it later finds in it what was
// shaped for the answers. Used on one thread at a time.
//
// Lines break at words, a word longer than the line between characters; an absent or infinite width breaks at
// explicit line ends alone. Of the lines, as many are shown as the limit and the offered height hold, at
// least one; if that is not all, the last shown line is cut with "…". The width is that of the widest line,
// not the offer; both sides are rounded up to whole pixels. An empty text, and any text offered 0 by 0, has
// no size; one that is offered no width has none, and a height as if each character had a line.
class PreparedText {
 public:
  explicit PreparedText(TextRun run) : run_(std::move(run)) {}
  virtual ~PreparedText() = default;
  PreparedText(const PreparedText&) = delete;
  PreparedText& operator=(const PreparedText&) = delete;

  virtual Size sizeFor(const Proposal& proposal) = 0;
  const TextRun& run() const { return run_; }

 private:
  TextRun run_;
};

// The port through which the engine measures texts.
class TextMeasure {
 public:
  virtual ~TextMeasure() = default;
  virtual std::shared_ptr<PreparedText> prepare(TextRun run) = 0;
};

}  // namespace sorn::layout
