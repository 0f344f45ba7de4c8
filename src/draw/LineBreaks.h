#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "layout/Text.h"

// Where the lines of a text break, as arithmetic on what was shaped once: answers at any number of widths
// cost no further shaping, and a word of a million letters costs no more than a million letters. (Pango's own
// breaking shapes the rest of a word anew for every line that it gives.)
namespace sorn::draw {

// What is shown as one: a letter with its marks, a ligature, an emoji.
struct Cluster {
  std::size_t start = 0;  // byte
  double advance = 0;     // points
  double ascent = 0;
  double descent = 0;
  bool beginsWord = false;       // a line may begin here
  bool beginsCharacter = false;  // a line may begin here if nothing else helps
  bool isBlank = false;
};

// The text between two explicit line ends.
struct Paragraph {
  std::size_t start = 0;  // byte
  std::size_t end = 0;
  std::size_t firstCluster = 0;
  std::size_t endCluster = 0;
  double ascent = 0;  // of a line without letters
  double descent = 0;
  bool isRightToLeft = false;
};

struct ShapedText {
  std::string text;
  std::vector<Cluster> clusters;
  std::vector<Paragraph> paragraphs;
};

struct TextLine {
  std::size_t paragraph = 0;
  std::size_t firstCluster = 0;
  std::size_t start = 0;  // bytes
  std::size_t end = 0;    // without the blanks at a wrap
  double width = 0;
  double ascent = 0;
  double height = 0;
};

// How much of a text is shown; at least one line.
struct LineBounds {
  std::size_t count = static_cast<std::size_t>(-1);
  double height = 0;  // infinity: no bound
};

struct Lines {
  std::vector<TextLine> lines;
  bool isWhole = true;  // false: there is more behind the last line
};

// Breaks at words; a word longer than the line between characters. Blanks at a wrap hang over and count for
// nothing.
Lines breakLines(const ShapedText& shaped, double width, const LineBounds& bounds);

// What of the rest of a text, from a line's first cluster on, stays around the "…" of a cut line.
struct Cut {
  std::size_t headEnd = 0;    // clusters before it stay
  std::size_t tailBegin = 0;  // and those from it on
};

// Keeps as much as fits into the width, of which the "…" takes a part; of the middle, the same length at
// either side. Where the whole rest would fit, and only line ends stand in the way, the first of them is what
// goes.
Cut cutToFit(const ShapedText& shaped, const TextLine& line, double width, double ellipsisWidth,
             layout::Truncation truncation);

// The text of some clusters as one line: line ends are blanks.
std::string joinedText(const ShapedText& shaped, std::size_t firstCluster, std::size_t endCluster);

}  // namespace sorn::draw
