#include "sorn-campaign/FixedMetric.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <utility>
#include <vector>

#include <unicode/ubrk.h>
#include <unicode/uchar.h>
#include <unicode/utext.h>

namespace sorn::tool {

namespace {

using layout::Proposal;
using layout::Size;

// ICU's iteration over the boundaries of a text.
class Boundaries {
 public:
  Boundaries(UBreakIteratorType type, const std::string& text) {
    UErrorCode status = U_ZERO_ERROR;
    text_ = utext_openUTF8(nullptr, text.data(), static_cast<std::int64_t>(text.size()), &status);
    iterator_ = ubrk_open(type, "", nullptr, 0, &status);
    ubrk_setUText(iterator_, text_, &status);
    isUsable_ = U_SUCCESS(status);
  }
  ~Boundaries() {
    ubrk_close(iterator_);
    utext_close(text_);
  }
  Boundaries(const Boundaries&) = delete;
  Boundaries& operator=(const Boundaries&) = delete;

  // The end of the next stretch; absent behind the last.
  std::optional<std::size_t> next() {
    const std::int32_t at = isUsable_ ? ubrk_next(iterator_) : UBRK_DONE;
    return at == UBRK_DONE ? std::nullopt : std::optional(static_cast<std::size_t>(at));
  }
  bool isHardBreak() const {
    const std::int32_t status = ubrk_getRuleStatus(iterator_);
    return status >= UBRK_LINE_HARD && status < UBRK_LINE_HARD_LIMIT;
  }

 private:
  UText* text_ = nullptr;
  UBreakIterator* iterator_ = nullptr;
  bool isUsable_ = false;
};

struct Cluster {
  bool isBlank = false;
  bool mayBreakAfter = false;
};

using Paragraph = std::vector<Cluster>;

bool isLineEnd(char character) { return character == '\n' || character == '\r'; }

std::vector<Paragraph> paragraphsOf(const std::string& text) {
  std::vector<std::pair<std::size_t, bool>> breaks;  // place, and whether the line must end there
  Boundaries lines(UBRK_LINE, text);
  while (const auto at = lines.next()) breaks.emplace_back(*at, lines.isHardBreak());

  std::vector<Paragraph> paragraphs(1);
  Boundaries clusters(UBRK_CHARACTER, text);
  std::size_t begin = 0;
  std::size_t nextBreak = 0;
  while (const auto end = clusters.next()) {
    while (nextBreak < breaks.size() && breaks[nextBreak].first < *end) ++nextBreak;
    const bool isBreak = nextBreak < breaks.size() && breaks[nextBreak].first == *end;
    if (!isLineEnd(text[begin]))
      paragraphs.back().push_back({text[begin] == ' ' || text[begin] == '\t', isBreak});
    if (isBreak && breaks[nextBreak].second && isLineEnd(text[begin])) paragraphs.emplace_back();
    begin = *end;
  }
  return paragraphs;
}

// One line of a paragraph: which clusters it holds, and how many of them count for its width.
struct Line {
  std::size_t begin = 0;
  std::size_t end = 0;
  std::size_t length = 0;
};

Line lineFrom(const Paragraph& paragraph, std::size_t begin, std::size_t room) {
  if (paragraph.size() - begin <= room) return {begin, paragraph.size(), paragraph.size() - begin};
  Line line{begin, begin + room, room};
  std::size_t inked = 0;  // without the blanks at the end
  bool isBroken = false;
  for (std::size_t at = begin; at < paragraph.size() && inked <= room; ++at) {
    if (!paragraph[at].isBlank) inked = at + 1 - begin;
    if (inked > room || !(paragraph[at].mayBreakAfter || at + 1 == paragraph.size())) continue;
    line = {begin, at + 1, inked};
    isBroken = true;
  }
  if (!isBroken) line.end = std::max(line.end, begin + 1);
  return line;
}

class FixedText : public layout::PreparedText {
 public:
  FixedText(layout::TextRun run, double advance, double lineHeight)
      : PreparedText(std::move(run)),
        advance_(advance),
        lineHeight_(lineHeight),
        paragraphs_(paragraphsOf(this->run().text)) {}

  Size sizeFor(const Proposal& proposal) override {
    if (run().text.empty() || (proposal.width == 0.0 && proposal.height == 0.0)) return {};
    const double width = proposal.width.value_or(std::numeric_limits<double>::infinity());
    const std::size_t room = roomIn(width);
    const std::size_t most = linesIn(proposal.height);
    std::size_t shown = 0;
    std::size_t widest = 0;
    for (const Paragraph& paragraph : paragraphs_) {
      std::size_t at = 0;
      do {
        const Line line = lineFrom(paragraph, at, room);
        const bool isLast = line.end == paragraph.size() && &paragraph == &paragraphs_.back();
        ++shown;
        widest = std::max(widest, shown == most && !isLast ? cutLength(paragraph, at, room) : line.length);
        if (shown == most) return sizeOf(widest, shown, width);
        at = line.end;
      } while (at < paragraph.size());
    }
    return sizeOf(widest, shown, width);
  }

 private:
  std::size_t roomIn(double width) const {
    const double room = std::floor(width / advance_ + 1e-9);
    return room >= 1e15 ? std::size_t{1} << 50 : std::max<std::size_t>(static_cast<std::size_t>(room), 1);
  }
  std::size_t linesIn(std::optional<double> height) const {
    std::size_t most = std::size_t{1} << 50;
    if (run().style.lineLimit) most = static_cast<std::size_t>(*run().style.lineLimit);
    if (!height || *height / lineHeight_ >= 1e15) return most;
    return std::min(most, std::max<std::size_t>(static_cast<std::size_t>(*height / lineHeight_ + 1e-9), 1));
  }
  // The last shown line holds what is left of its paragraph, or its room, with the ellipsis.
  static std::size_t cutLength(const Paragraph& paragraph, std::size_t begin, std::size_t room) {
    return std::min(paragraph.size() - begin + 1, room);
  }
  Size sizeOf(std::size_t widest, std::size_t lines, double offered) const {
    const double width = offered <= 0 ? 0 : std::ceil(static_cast<double>(widest) * advance_);
    return {width, std::ceil(static_cast<double>(lines) * lineHeight_)};
  }

  double advance_;
  double lineHeight_;
  std::vector<Paragraph> paragraphs_;
};

}  // namespace

std::shared_ptr<layout::PreparedText> FixedMetric::prepare(layout::TextRun run) {
  return std::make_shared<FixedText>(std::move(run), advance_, lineHeight_);
}

}  // namespace sorn::tool
