#include "draw/Shaping.h"

#include <algorithm>
#include <memory>

namespace sorn::draw {

namespace {

// Pango counts a line in 2^21 points, so a large font may have fewer letters.
constexpr double longestLine = 1'000'000;

// What Pango is given at a time. It takes time by the square of the count of runs and of paragraphs in a
// text, and a measured text only has to be right about each letter's advance.
constexpr std::size_t pieceBytes = 1'024;

std::string validText(std::string_view text, double fontSize) {
  const std::size_t most = std::min(mostShapedBytes, static_cast<std::size_t>(longestLine / fontSize));
  const bool isCut = text.size() > most;
  if (isCut) {
    std::size_t end = most;
    while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80) --end;
    text = text.substr(0, end);
  }
  const std::unique_ptr<char, decltype(&g_free)> valid(
      g_utf8_make_valid(text.data(), static_cast<gssize>(text.size())), g_free);
  std::string result = valid.get();
  constexpr std::string_view lineSeparator = "\u2028";
  for (std::size_t at = 0; (at = result.find(lineSeparator, at)) != std::string::npos; ++at) {
    result.replace(at, lineSeparator.size(), "\n");
  }
  return isCut ? result + "…" : result;
}

// One paragraph after another, in pieces.
class Shaper {
 public:
  Shaper(ShapedText& shaped, const PangoTextMeasure::Fonts& fonts, const PangoFontDescription* font)
      : shaped_(shaped),
        opening_(fonts.layout("", font, false)),
        further_{fonts.layout("", font, false), fonts.layout("", font, true)} {
    pango_layout_set_auto_dir(opening_.get(), TRUE);
    const LayoutIterator line(pango_layout_get_iter(opening_.get()));
    PangoRectangle extents;
    pango_layout_iter_get_line_extents(line.get(), nullptr, &extents);
    emptyAscent_ = pango_units_to_double(pango_layout_iter_get_baseline(line.get()));
    emptyDescent_ = pango_units_to_double(extents.height) - emptyAscent_;
  }

  void addParagraph(std::size_t start, std::size_t end) {
    Paragraph paragraph{.start = start,
                        .end = end,
                        .firstCluster = shaped_.clusters.size(),
                        .ascent = emptyAscent_,
                        .descent = emptyDescent_};
    for (std::size_t at = start; at < end;) {
      const std::size_t next = endOfPiece(at, end);
      addPiece(at == start ? opening_.get() : further_[paragraph.isRightToLeft].get(), at, next);
      if (at == start) paragraph.isRightToLeft = isRightToLeft(opening_.get());
      at = next;
    }
    paragraph.endCluster = shaped_.clusters.size();
    shaped_.paragraphs.push_back(paragraph);
  }

 private:
  // Behind the last blank that the piece can hold, or else between two letters.
  std::size_t endOfPiece(std::size_t start, std::size_t end) const {
    if (end - start <= pieceBytes) return end;
    const std::string_view piece = std::string_view(shaped_.text).substr(start, pieceBytes);
    if (const std::size_t blank = piece.rfind(' '); blank != std::string_view::npos) return start + blank + 1;
    std::size_t next = start + pieceBytes;
    while ((static_cast<unsigned char>(shaped_.text[next]) & 0xC0) == 0x80) --next;
    return next;
  }

  static bool isRightToLeft(PangoLayout* layout) {
    PangoLayoutLine* line = pango_layout_get_line_readonly(layout, 0);
    return pango_layout_line_get_resolved_direction(line) == PANGO_DIRECTION_RTL;
  }

  void addPiece(PangoLayout* layout, std::size_t start, std::size_t end) {
    pango_layout_set_text(layout, shaped_.text.data() + start, static_cast<int>(end - start));
    const std::size_t first = shaped_.clusters.size();
    addClusters(layout, start);
    const auto begin = shaped_.clusters.begin() + static_cast<std::ptrdiff_t>(first);
    // Pango gives them from left to right, whichever way they are read.
    std::sort(begin, shaped_.clusters.end(),
              [](const Cluster& a, const Cluster& b) { return a.start < b.start; });
    markBreaks(layout, first, start);
  }

  void addClusters(PangoLayout* layout, std::size_t start) {
    const LayoutIterator iterator(pango_layout_get_iter(layout));
    do {
      if (pango_layout_iter_get_run_readonly(iterator.get()) == nullptr) continue;  // the line's end
      PangoRectangle extents;
      pango_layout_iter_get_cluster_extents(iterator.get(), nullptr, &extents);
      const double ascent =
          -pango_units_to_double(extents.y - pango_layout_iter_get_baseline(iterator.get()));
      shaped_.clusters.push_back(
          {.start = start + static_cast<std::size_t>(pango_layout_iter_get_index(iterator.get())),
           .advance = std::max(pango_units_to_double(extents.width), 0.0),
           .ascent = ascent,
           .descent = pango_units_to_double(extents.height) - ascent});
    } while (pango_layout_iter_next_cluster(iterator.get()) != FALSE);
  }

  void markBreaks(PangoLayout* layout, std::size_t first, std::size_t start) {
    int count = 0;
    const PangoLogAttr* attributes = pango_layout_get_log_attrs_readonly(layout, &count);
    std::size_t byte = start;
    int character = 0;
    for (std::size_t i = first; i < shaped_.clusters.size(); ++i) {
      Cluster& cluster = shaped_.clusters[i];
      for (; byte < cluster.start; ++character) byte += g_utf8_skip[static_cast<guchar>(shaped_.text[byte])];
      if (character >= count) return;
      const PangoLogAttr& attribute = attributes[character];
      cluster.isBlank = attribute.is_white != 0;
      cluster.beginsCharacter = i == first || attribute.is_char_break != 0;
      cluster.beginsWord =
          i == first ? start > 0 && shaped_.text[start - 1] == ' ' : attribute.is_line_break != 0;
    }
  }

  ShapedText& shaped_;
  TextLayout opening_;     // of a paragraph: finds its direction by its first letters
  TextLayout further_[2];  // by direction
  double emptyAscent_ = 0;
  double emptyDescent_ = 0;
};

}  // namespace

ShapedText shape(std::string_view text, const PangoTextMeasure::Fonts& fonts,
                 const PangoFontDescription* font, double fontSize) {
  ShapedText shaped;
  shaped.text = validText(text, fontSize);
  Shaper shaper(shaped, fonts, font);
  const char* bytes = shaped.text.data();
  for (std::size_t start = 0;;) {
    int length = 0;
    int next = 0;
    pango_find_paragraph_boundary(bytes + start, static_cast<int>(shaped.text.size() - start), &length,
                                  &next);
    shaper.addParagraph(start, start + static_cast<std::size_t>(length));
    if (next == length) break;
    start += static_cast<std::size_t>(next);
  }
  return shaped;
}

}  // namespace sorn::draw
