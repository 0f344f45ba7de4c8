#include <limits>

#include <gmock/gmock.h>

#include "draw/LineBreaks.h"

namespace sorn::draw {
namespace {

using testing::ElementsAre;

// Each letter is 10 wide, 15 above and 5 below the line; "|" ends a line.
ShapedText fixedText(const std::string& text) {
  ShapedText shaped{.text = text, .clusters = {}, .paragraphs = {}};
  Paragraph paragraph{.ascent = 15, .descent = 5};
  for (std::size_t i = 0; i <= text.size(); ++i) {
    if (i == text.size() || text[i] == '|') {
      paragraph.end = i;
      paragraph.endCluster = shaped.clusters.size();
      shaped.paragraphs.push_back(paragraph);
      paragraph.start = i + 1;
      paragraph.firstCluster = shaped.clusters.size();
    } else {
      shaped.clusters.push_back({.start = i,
                                 .advance = 10,
                                 .ascent = 15,
                                 .descent = 5,
                                 .beginsWord = i > 0 && text[i - 1] == ' ',
                                 .beginsCharacter = true,
                                 .isBlank = text[i] == ' '});
    }
  }
  return shaped;
}

constexpr double infinity = std::numeric_limits<double>::infinity();

// The lines with their widths, such as "aaaa:40"; "+" at the end when there is more.
std::vector<std::string> broken(const std::string& text, double width,
                                LineBounds bounds = {.height = infinity}) {
  const Lines lines = breakLines(fixedText(text), width, bounds);
  std::vector<std::string> result;
  result.reserve(lines.lines.size() + 1);
  for (const TextLine& line : lines.lines) {
    result.push_back(text.substr(line.start, line.end - line.start) + ":" +
                     std::to_string(static_cast<int>(line.width)));
  }
  if (!lines.isWhole) result.emplace_back("+");
  return result;
}

TEST(LineBreaks, WordsGoToTheNextLineAndLongOnesAreBroken) {
  EXPECT_THAT(broken("aaaa bbb", 50), ElementsAre("aaaa:40", "bbb:30"));
  EXPECT_THAT(broken("aaaa bbb", 80), ElementsAre("aaaa bbb:80"));
  EXPECT_THAT(broken("aaaa bbb", 79.9), ElementsAre("aaaa:40", "bbb:30"));
  EXPECT_THAT(broken("cccccccc", 60), ElementsAre("cccccc:60", "cc:20"));
  EXPECT_THAT(broken("a cccccccc d", 30), ElementsAre("a:10", "ccc:30", "ccc:30", "cc:20", "d:10"));
}

TEST(LineBreaks, BlanksAtAWrapCountForNothing) {
  EXPECT_THAT(broken("aaaa    bbb", 40), ElementsAre("aaaa:40", "bbb:30"));
  EXPECT_THAT(broken("aaaa   ", 40), ElementsAre("aaaa:40"));
  EXPECT_THAT(broken("a ", infinity), ElementsAre("a :20"));
}

TEST(LineBreaks, ExplicitEndsAlwaysBreak) {
  EXPECT_THAT(broken("a||bb|", infinity), ElementsAre("a:10", ":0", "bb:20", ":0"));
}

TEST(LineBreaks, WithoutWidthEachLetterHasALine) {
  EXPECT_THAT(broken("ab c", 0), ElementsAre("a:10", "b:10", "c:10"));
}

TEST(LineBreaks, StopAtTheBoundButShowOneLine) {
  EXPECT_THAT(broken("aa bb cc", 20, {.count = 2, .height = infinity}), ElementsAre("aa:20", "bb:20", "+"));
  EXPECT_THAT(broken("aa bb cc", 20, {.count = 3, .height = infinity}),
              ElementsAre("aa:20", "bb:20", "cc:20"));
  EXPECT_THAT(broken("aa bb cc", 20, {.height = 40}), ElementsAre("aa:20", "bb:20", "+"));
  EXPECT_THAT(broken("aa bb cc", 20, {.height = 59.9}), ElementsAre("aa:20", "bb:20", "+"));
  EXPECT_THAT(broken("aa bb cc", 20, {.height = 0}), ElementsAre("aa:20", "+"));
}

// The rest of a text from its first line on, cut to a width; "…" is 15 wide.
std::string cut(const std::string& text, double width, layout::Truncation truncation) {
  const ShapedText shaped = fixedText(text);
  const TextLine line = breakLines(shaped, width, {.count = 1, .height = infinity}).lines.front();
  const Cut cut = cutToFit(shaped, line, width, 15, truncation);
  return joinedText(shaped, 0, cut.headEnd) + "…" + joinedText(shaped, cut.tailBegin, shaped.clusters.size());
}

TEST(LineBreaks, ACutKeepsWhatFits) {
  using enum layout::Truncation;
  EXPECT_EQ(cut("abcdefgh", 55, tail), "abcd…");
  EXPECT_EQ(cut("abcdefgh", 54.9, tail), "abc…");
  EXPECT_EQ(cut("abcdefgh", 55, middle), "ab…gh");
  EXPECT_EQ(cut("abcdefgh", 45, middle), "ab…h");
  EXPECT_EQ(cut("abcdefgh", 14, tail), "…");
  EXPECT_EQ(cut("abcdefgh", 14, middle), "…");
  // Line ends alone stand in the way.
  EXPECT_EQ(cut("ab|cd|ef", infinity, tail), "ab…");
  EXPECT_EQ(cut("ab|cd|ef", infinity, middle), "ab…cd ef");
  EXPECT_EQ(cut("|ab", infinity, tail), "…");
  EXPECT_EQ(cut("ab|cd|ef", 45, tail), "ab c…");
}

TEST(LineBreaks, JoinedTextHasBlanksForLineEnds) {
  const ShapedText text = fixedText("ab||cd|e");
  EXPECT_EQ(joinedText(text, 0, 5), "ab  cd e");
  EXPECT_EQ(joinedText(text, 1, 4), "b  cd");
  EXPECT_EQ(joinedText(text, 4, 5), "e");
}

}  // namespace
}  // namespace sorn::draw
