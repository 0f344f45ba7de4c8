#include <string>

#include <gtest/gtest.h>

#include "sorn-campaign/Source.h"
#include "support/json/Json.h"

namespace sorn::tool {
namespace {

TEST(Source, TakesAndRefusesWhatTheLibrarysReaderDoes) {
  const std::string levels(512, '[');
  const std::string texts[] = {
      "", "   ", "5", "\"a\"", "null", "[]", "{}", " \t\r\n[ ]\n", "[] []", "[1]]", "[1]}", "[}", "{]",
      // A byte order mark.
      "\xEF\xBB\xBF[]", "\xEF\xBB[]", "\xEF\xBB\xBF\xEF\xBB\xBF[]", "[\xEF\xBB\xBF-1]",
      "[1,\xEF\xBB\xBFtrue]",
      // Commas and colons.
      "[1,]", "[1,,]", "[,1]", "[[],]", "[\"\",]", "[1 ,\n ]", "{\"a\":1,}", "{,}", "{\"a\":,}", "{\"a\"}",
      "{\"a\":}", "{\"a\" :\n1}", "{1:2}", "['a']", "[//\n]",
      // Words and numbers, which the library's reader reads.
      "[true,false,null]", "[truefalse]", "[True]", "[-0]", "[00]", "[1.]", "[1E+05]", "[1e400]",
      // Escapes and bytes.
      "[\"\\\"\\\\\\/\\b\\f\\n\\r\\t\"]", "[\"\\u0000\"]", "[\"\\uD83D\\uDE00\"]", "[\"\\uD83D\\u0041\"]",
      "[\"\\uDE00\"]", "[\"\\uD83D\"]", "[\"\\U0041\"]", "[\"\x7F\"]", "[\"\x1F\"]", "[\"\xF0\x9F\x98\x80\"]",
      "[\"\xED\xA0\x80\"]", "[\"\xC0\x80\"]", "[\"\x80\"]", "[\xC3\xA9]", "[1]\xC3", "[1]\x0C", "\x0B[1]",
      // Texts that end too early, and depth.
      "[\"a", "[\"a\\", "[\"a\\\"", levels, levels + std::string(512, ']'),
      '[' + levels + std::string(513, ']')};
  for (const std::string& text : texts) {
    SyntaxFault fault;
    const bool isRead = readSource(text, fault).has_value();
    EXPECT_EQ(isRead, static_cast<bool>(support::Document::parse(text))) << text << '\n' << fault.cause;
    EXPECT_LE(fault.offset, text.size());
    EXPECT_EQ(isRead, fault.cause.empty());
  }
}

TEST(Source, KeysAreFoundByTheirMeaning) {
  SyntaxFault fault;
  const auto root = readSource(R"({"\uD83D\uDE00\u00e9\n":[0,{"b":true}]})", fault);
  ASSERT_TRUE(root);
  using documents::PathStep;
  const PathStep path[] = {PathStep::member("\U0001F600\u00e9\n"), PathStep::element(1),
                           PathStep::member("b"), PathStep::member("beyond")};
  const std::size_t expected[] = {0, 24, 27, 32, 32};
  for (std::size_t length = 0; length < std::size(expected); ++length) {
    EXPECT_EQ(offsetOf(*root, std::span(path).first(length)), expected[length]) << length;
  }
}

TEST(Source, LinesEndBehindTheirLineFeed) {
  const Lines lines("ab\n\ncd");
  const LineColumn expected[] = {{1, 1}, {1, 2}, {1, 3}, {2, 1}, {3, 1}, {3, 2}, {3, 3}};
  for (std::size_t offset = 0; offset < std::size(expected); ++offset) {
    EXPECT_EQ(lines.at(offset), expected[offset]) << offset;
  }
}

}  // namespace
}  // namespace sorn::tool
