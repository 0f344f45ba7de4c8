#include <limits>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "support/json/Json.h"
#include "support/json/JsonWriter.h"

namespace sorn::support {
namespace {

using namespace std::string_literals;

std::optional<Value> parsed(std::string_view text, Fragments fragments = Fragments::no) {
  const auto document = Document::parse(text, fragments);
  return document ? std::optional(document->root().toValue()) : std::nullopt;
}

std::string nested(std::size_t levels, const std::string& inner = "") {
  return std::string(levels, '[') + inner + std::string(levels, ']');
}

// The documents between the blanks.
std::vector<std::string> words(const std::string& text) {
  std::istringstream stream(text);
  return {std::istream_iterator<std::string>(stream), {}};
}

TEST(Json, WhatIsNoDocumentIsRefused) {
  std::vector<std::string> refused = words(
      R"(1 null [1][2] [1], [01] [1.] [-] [1e] [NaN] [tru] ["\x"] ["\ud800"] ["a] {"a":1 [1}
         [,] [1,,] {,} {"a":1,,} {"a",} {"a":,} [1e400 {1e400:1})");
  refused.insert(refused.end(),
                 {"", " \n", "[1] x", "[1 /* c */]", "[1 2]", "[99999999999999999999 1]", "[\"\x01\"]",
                  "[\"\xff\"]", "[\"\xed\xa0\x80\"]", "\xef\xbb\xbf", "[\"a\"\x00]"s, "[]\x00"s});
  for (const std::string& text : refused) {
    const auto document = Document::parse(text);
    ASSERT_FALSE(document) << text;
    EXPECT_NE(document.error().description, "") << text;
  }
}

TEST(Json, ReadsEveryKindOfValue) {
  const Dictionary expected{{"array", List{}},
                            {"double", 2.5},
                            {"false", false},
                            {"integer", std::int64_t{-7}},
                            {"null", nullptr},
                            {"object", Dictionary{{"", List{1, Value(List{2}), Dictionary{}}}}},
                            {"text", "\u00e9\n/\U0001F600"},
                            {"true", true}};
  EXPECT_EQ(parsed(R"( {"array":[], "double":2.5, "false":false, "integer":-7, "null":null, "true":true,
                        "object":{"":[1,[2],{}]}, "integer":"the first counts",
                        "text":"\u00e9\n\/\ud83d\ude00"} )"),
            Value(expected));
}

TEST(Json, AMarkOfTheByteOrderAndACommaBeforeAClosingBracketAreTolerated) {
  EXPECT_EQ(parsed("\xef\xbb\xbf[1]"), Value(List{1}));
  EXPECT_EQ(parsed("[1,]"), Value(List{1}));
  EXPECT_EQ(parsed("{\"a\" : [\",]\" , ] ,\n}"), Value(Dictionary{{"a", List{",]"}}}));
}

TEST(Json, ALoneValueCountsOnlyWhereFragmentsAreAllowed) {
  EXPECT_EQ(parsed("12", Fragments::yes), Value(12));
  EXPECT_EQ(parsed("\"a\"", Fragments::yes), Value("a"));
  EXPECT_EQ(parsed("1e400", Fragments::yes), Value(Decimal{"1e400"}));
  EXPECT_FALSE(parsed("nul", Fragments::yes));
}

TEST(Json, NestsUpTo512Levels) {
  EXPECT_TRUE(parsed(nested(512)));
  EXPECT_TRUE(parsed(nested(510, "{\"a\":[2]}")));
  EXPECT_FALSE(parsed(nested(511, "{\"a\":[2]}")));
  EXPECT_FALSE(parsed(nested(513)));
  EXPECT_FALSE(parsed(nested(513, "1")));
  EXPECT_FALSE(parsed(nested(100000)));
}

TEST(Json, NumbersKeepWhatTheyCan) {
  const std::pair<std::string, Value> cases[] = {
      {"9223372036854775807", std::numeric_limits<std::int64_t>::max()},
      {"-9223372036854775808", std::numeric_limits<std::int64_t>::min()},
      {"9223372036854775808", 9223372036854775808.0},
      {"18446744073709551616", Decimal{"18446744073709551616"}},
      {"-9223372036854775809", Decimal{"-9223372036854775809"}},
      {"1.0", 1.0},
      {"1E2", 100.0},
      {"-0", std::int64_t{0}},
      {"1e-400", 0.0},
      {"0.000e999999999999999999", 0.0},
      {"1e309", Decimal{"1e309"}},
      {"-1234567.5e99999999999999999999", Decimal{"-1234567.5e99999999999999999999"}},
  };
  for (const auto& [text, expected] : cases)
    EXPECT_EQ(parsed("[" + text + "]"), Value(List{expected})) << text;
}

TEST(Json, DecimalsAreToldFromTextsOfTheSameBytes) {
  EXPECT_EQ(parsed(R"({"1e400":"1e400","a":["x",1e400,"1e400",{"b":1e400}],"c":"1e400","d":1e-400})"),
            Value(Dictionary{{"1e400", "1e400"},
                             {"a", List{"x", Decimal{"1e400"}, "1e400", Dictionary{{"b", Decimal{"1e400"}}}}},
                             {"c", "1e400"},
                             {"d", 0.0}}));
}

TEST(Json, NodesWalkPastWhatTheyDoNotEnter) {
  const auto document = Document::parse(R"([{"a":{"b":[1,{"c":2}]},"d":3.5},[[],[7]],"x"])");
  ASSERT_TRUE(document);
  const Node root = document->root();
  EXPECT_EQ(root.size(), 3u);
  EXPECT_EQ(root.at(0)->size(), 2u);
  EXPECT_EQ(root.at(0)->find("d")->number(), 3.5);
  EXPECT_EQ(root.at(1)->at(1)->at(0)->integer(), 7);
  EXPECT_EQ(root.at(2)->text(), "x");
  EXPECT_FALSE(root.at(3));
  EXPECT_FALSE(root.find("a"));
  EXPECT_FALSE(root.at(0)->at(0));
  EXPECT_FALSE(root.at(2)->find(""));
}

struct Cast {
  const char* text;
  std::optional<bool> boolean;
  std::optional<std::int64_t> integer;
  std::optional<double> number;
  std::optional<std::string_view> string;
};

TEST(Json, CastsLoseNothingOrFail) {
  const auto none = std::nullopt;
  const Cast cases[] = {
      {"true", true, 1, 1.0, none},
      {"false", false, 0, 0.0, none},
      {"0", false, 0, 0.0, none},
      {"1", true, 1, 1.0, none},
      {"2", none, 2, 2.0, none},
      {"2.5", none, none, 2.5, none},
      {"-3.0", none, -3, -3.0, none},
      {"9007199254740993", none, 9007199254740993, none, none},
      {"9223372036854775807", none, std::numeric_limits<std::int64_t>::max(), none, none},
      {"-9223372036854775808", none, std::numeric_limits<std::int64_t>::min(), -9223372036854775808.0, none},
      {"9223372036854775808", none, none, 9223372036854775808.0, none},
      {"9223372036854775809", none, none, none, none},
      {"1e300", none, none, 1e300, none},
      {"36893488147419103232", none, none, 36893488147419103232.0, none},  // 2 to the 65
      {"36893488147419103233", none, none, none, none},
      {"1e400", none, none, none, none},
      {"\"1\"", none, none, none, "1"},
      {"null", none, none, none, none},
      {"{}", none, none, none, none},
  };
  for (const Cast& one : cases) {
    const auto document = Document::parse(one.text, Fragments::yes);
    ASSERT_TRUE(document) << one.text;
    const Node node = document->root();
    EXPECT_EQ(node.castBoolean(), one.boolean) << one.text;
    EXPECT_EQ(node.castInteger(), one.integer) << one.text;
    EXPECT_EQ(node.castDouble(), one.number) << one.text;
    EXPECT_EQ(node.castText(), one.string) << one.text;
    // A value that went through the untyped form casts the same way, but for integers beyond 63 bits, which
    // have become doubles there.
    const Value value = node.toValue();
    EXPECT_EQ(castBoolean(value), one.boolean) << one.text;
    EXPECT_EQ(castInteger(value), one.integer) << one.text;
    if (one.text != "9223372036854775809"s) {
      EXPECT_EQ(castDouble(value), one.number) << one.text;
    }
    EXPECT_EQ(castText(value), one.string) << one.text;
  }
}

struct Read {
  const char* text;
  ReadStatus integer;
  ReadStatus number;
  ReadStatus boolean;
  ReadStatus string;
};

TEST(Json, StrictReadsTellMismatchFromCorruption) {
  constexpr auto ok = ReadStatus::ok;
  constexpr auto wrong = ReadStatus::mismatch;
  constexpr auto corrupt = ReadStatus::corrupt;
  constexpr auto null = ReadStatus::null;
  const Read cases[] = {
      {"2", ok, ok, wrong, wrong},
      {"1e3", ok, ok, wrong, wrong},
      {"-0", ok, ok, wrong, wrong},
      {"1.5", corrupt, ok, wrong, wrong},
      {"9223372036854775808", corrupt, ok, wrong, wrong},
      {"99999999999999999999", corrupt, ok, wrong, wrong},
      {"1e400", corrupt, corrupt, wrong, wrong},
      {"true", wrong, wrong, ok, wrong},
      {"\"2\"", wrong, wrong, wrong, ok},
      {"null", null, null, null, null},
      {"{}", wrong, wrong, wrong, wrong},
  };
  for (const Read& one : cases) {
    const auto document = Document::parse(one.text, Fragments::yes);
    ASSERT_TRUE(document) << one.text;
    std::int64_t integer = 0;
    double number = 0;
    bool boolean = false;
    std::string string;
    EXPECT_EQ(document->root().read(integer), one.integer) << one.text;
    EXPECT_EQ(document->root().read(number), one.number) << one.text;
    EXPECT_EQ(document->root().read(boolean), one.boolean) << one.text;
    EXPECT_EQ(document->root().read(string), one.string) << one.text;
  }
}

}  // namespace
}  // namespace sorn::support
