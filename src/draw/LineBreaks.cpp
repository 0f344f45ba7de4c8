#include "draw/LineBreaks.h"

#include <algorithm>
#include <optional>

namespace sorn::draw {

namespace {

// Lengths that differ by less are the same: answers were rounded on their way back here.
constexpr double tolerance = 1.0 / 1024;

// The cluster with which the line after the one from `first` begins.
std::size_t endOfLine(const ShapedText& shaped, const Paragraph& paragraph, std::size_t first, double width) {
  double x = 0;
  std::optional<std::size_t> word;
  std::size_t character = first;
  for (std::size_t i = first; i < paragraph.endCluster; ++i) {
    const Cluster& cluster = shaped.clusters[i];
    if (i > first && cluster.beginsWord) word = i;
    if (cluster.beginsCharacter) character = i;
    x += cluster.advance;
    const bool isTooLong = !cluster.isBlank && x > width + tolerance;
    if (isTooLong && word) return *word;
    if (isTooLong && character > first) return character;
  }
  return paragraph.endCluster;
}

double advanceOf(const ShapedText& shaped, std::size_t first, std::size_t end) {
  double advance = 0;
  for (std::size_t i = first; i < end; ++i) advance += shaped.clusters[i].advance;
  return advance;
}

TextLine lineOf(const ShapedText& shaped, std::size_t index, std::size_t first, std::size_t end,
                double width) {
  const Paragraph& paragraph = shaped.paragraphs[index];
  TextLine line{.paragraph = index, .firstCluster = first, .start = paragraph.start, .end = paragraph.end};
  if (first < paragraph.endCluster) line.start = shaped.clusters[first].start;
  line.width = advanceOf(shaped, first, end);
  const bool isWrapped = end < paragraph.endCluster || line.width > width + tolerance;
  while (isWrapped && end > first && shaped.clusters[end - 1].isBlank)
    line.width -= shaped.clusters[--end].advance;
  if (end < paragraph.endCluster) line.end = shaped.clusters[end].start;
  double ascent = 0;
  double descent = 0;
  for (std::size_t i = first; i < end; ++i) {
    ascent = std::max(ascent, shaped.clusters[i].ascent);
    descent = std::max(descent, shaped.clusters[i].descent);
  }
  if (end == first) {
    ascent = paragraph.ascent;
    descent = paragraph.descent;
  }
  line.ascent = ascent;
  line.height = ascent + descent;
  return line;
}

bool isWithin(const ShapedText& shaped, std::size_t first, double width) {
  double x = 0;
  for (std::size_t i = first; i < shaped.clusters.size() && x <= width; ++i) x += shaped.clusters[i].advance;
  return x <= width + tolerance;
}

// Takes clusters from both ends, always at the side that has less.
Cut middleCut(const ShapedText& shaped, std::size_t first, double width) {
  Cut cut{first, shaped.clusters.size()};
  double head = 0;
  double tail = 0;
  while (cut.headEnd < cut.tailBegin) {
    const bool isHead = head <= tail;
    const double advance = shaped.clusters[isHead ? cut.headEnd : cut.tailBegin - 1].advance;
    if (head + tail + advance > width + tolerance) break;
    (isHead ? head : tail) += advance;
    isHead ? ++cut.headEnd : --cut.tailBegin;
  }
  return cut;
}

Cut tailCut(const ShapedText& shaped, std::size_t first, std::size_t end, double width) {
  Cut cut{first, shaped.clusters.size()};
  for (double x = 0; cut.headEnd < end; ++cut.headEnd) {
    x += shaped.clusters[cut.headEnd].advance;
    if (x > width + tolerance) break;
  }
  return cut;
}

}  // namespace

Cut cutToFit(const ShapedText& shaped, const TextLine& line, double width, double ellipsisWidth,
             layout::Truncation truncation) {
  const std::size_t first = line.firstCluster;
  const std::size_t endOfParagraph = shaped.paragraphs[line.paragraph].endCluster;
  const bool isWithinWidth = isWithin(shaped, first, width);
  if (truncation == layout::Truncation::tail) {
    return tailCut(shaped, first, isWithinWidth ? endOfParagraph : shaped.clusters.size(),
                   width - ellipsisWidth);
  }
  if (isWithin(shaped, first, width - ellipsisWidth)) return {endOfParagraph, endOfParagraph};
  return middleCut(shaped, first, width - ellipsisWidth);
}

Lines breakLines(const ShapedText& shaped, double width, const LineBounds& bounds) {
  Lines result;
  double height = 0;
  for (std::size_t index = 0; index < shaped.paragraphs.size(); ++index) {
    const Paragraph& paragraph = shaped.paragraphs[index];
    std::size_t first = paragraph.firstCluster;
    do {
      const std::size_t end = endOfLine(shaped, paragraph, first, width);
      const TextLine line = lineOf(shaped, index, first, end, width);
      height += line.height;
      const bool isFull = result.lines.size() >= bounds.count || height > bounds.height + tolerance;
      if (isFull && !result.lines.empty()) {
        result.isWhole = false;
        return result;
      }
      result.lines.push_back(line);
      first = end;
    } while (first < paragraph.endCluster);
  }
  return result;
}

std::string joinedText(const ShapedText& shaped, std::size_t firstCluster, std::size_t endCluster) {
  std::string joined;
  for (const Paragraph& paragraph : shaped.paragraphs) {
    if (paragraph.endCluster < firstCluster || paragraph.firstCluster >= endCluster) continue;
    const std::size_t first = std::max(firstCluster, paragraph.firstCluster);
    const std::size_t end = std::min(endCluster, paragraph.endCluster);
    const std::size_t from = first < paragraph.endCluster ? shaped.clusters[first].start : paragraph.end;
    const std::size_t to = end < paragraph.endCluster ? shaped.clusters[end].start : paragraph.end;
    if (paragraph.firstCluster > firstCluster) joined += ' ';
    joined.append(shaped.text, from, to - from);
  }
  return joined;
}

}  // namespace sorn::draw
