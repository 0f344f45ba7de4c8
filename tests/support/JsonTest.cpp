#include <cmath>
#include <limits>
#include <string>

#include <gtest/gtest.h>

#include "fakes/DataFile.h"
#include "support/json/Json.h"
#include "support/json/JsonCheck.h"
#include "support/json/JsonWriter.h"

namespace sorn::support {
namespace {

using namespace std::string_literals;
using tests::cell;
using tests::dataFile;

std::optional<Value> parsed(std::string_view text, Fragments fragments = Fragments::no) {
  const auto document = Document::parse(text, fragments);
  return document ? std::optional(document->root().toValue()) : std::nullopt;
}

std::string nested(std::size_t levels, const std::string& inner = "") {
  return std::string(levels, '[') + inner + std::string(levels, ']');
}

TEST(Json, WhatIsNoDocumentIsRefused) {
  auto refused = dataFile("json-refused.json").get<std::vector<std::string>>();
  refused.insert(refused.end(), {"[\"\xff\"]", "[\"\xed\xa0\x80\"]"});
  for (const std::string& text : refused) {
    const auto document = Document::parse(text);
    ASSERT_FALSE(document) << text;
    EXPECT_NE(document.error().description, "") << text;
  }
}

TEST(Json, ReadsEveryKindOfValueTheByteOrderMarkAndSpareCommas) {
  const Dictionary expected{{"array", List{}},
                            {"double", 2.5},
                            {"false", false},
                            {"integer", std::int64_t{-7}},
                            {"null", nullptr},
                            {"object", Dictionary{{"", List{1, Value(List{2}), Dictionary{}}}}},
                            {"text", "\u00e9\n/\U0001F600,]"},
                            {"true", true}};
  EXPECT_EQ(parsed("\xef\xbb\xbf"
                   R"( {"array":[], "double":2.5, "false":false, "integer":-7, "null":null, "true":true,
                        "object":{"":[1,[2,],{}] ,
                        }, "integer":"the first counts", "text":"\u00e9\n\/\ud83d\ude00,]" ,} )"),
            Value(expected));
}

TEST(Json, ALoneValueCountsOnlyWhereFragmentsAreAllowed) {
  EXPECT_EQ(parsed("12", Fragments::yes), Value(12));
  EXPECT_EQ(parsed("1e400", Fragments::yes), Value(Decimal{"1e400"}));
  EXPECT_FALSE(parsed("nul", Fragments::yes));
}

TEST(Json, NestsUpTo512Levels) {
  EXPECT_TRUE(parsed(nested(512)));
  EXPECT_TRUE(parsed(nested(510, "{\"a\":[2]}")));
  EXPECT_FALSE(parsed(nested(511, "{\"a\":[2]}")));
  EXPECT_FALSE(parsed(nested(513)));
  EXPECT_FALSE(parsed(nested(100000)));
}

TEST(Json, NumbersKeepWhatTheyCan) {
  for (const auto& row : dataFile("json-numbers.json")) {
    const std::string text = row[0];
    Value expected = Decimal{text};
    if (row[1] == "integer") expected = row[2].get<std::int64_t>();
    if (row[1] == "double") expected = row[2].get<double>();
    EXPECT_EQ(parsed("[" + text + "]"), Value(List{expected})) << text;
  }
  // And are told from texts of the same bytes.
  EXPECT_EQ(parsed(R"({"1e400":"1e400","a":["x",1e400,"1e400",{"b":1e400}],"c":"1e400"})"),
            Value(Dictionary{{"1e400", "1e400"},
                             {"a", List{"x", Decimal{"1e400"}, "1e400", Dictionary{{"b", Decimal{"1e400"}}}}},
                             {"c", "1e400"}}));
}

TEST(Json, NodesWalkPastWhatTheyDoNotEnter) {
  const auto document = Document::parse(R"([{"a":{"b":[1,{"c":2}]},"d":3.5},[[],[7]],"x"])");
  const Node root = document->root();
  EXPECT_EQ(root.size(), 3u);
  EXPECT_EQ(root.at(0)->size(), 2u);
  EXPECT_EQ(root.at(0)->find("d")->number(), 3.5);
  EXPECT_EQ(root.at(1)->at(1)->at(0)->integer(), 7);
  EXPECT_EQ(root.at(2)->text(), "x");
  EXPECT_FALSE(root.at(3) || root.find("a") || root.at(0)->at(0) || root.at(2)->find(""));
}

TEST(Json, CastsLoseNothingOrFail) {
  for (const auto& row : dataFile("json-casts.json")) {
    const auto document = Document::parse(row[0].get<std::string>(), Fragments::yes);
    ASSERT_TRUE(document) << row;
    const Node node = document->root();
    // A value that went through the untyped form casts the same way, but for integers beyond 63 bits, which
    // have become doubles there.
    const Value value = node.toValue();
    EXPECT_EQ(node.castBoolean(), cell<bool>(row[1])) << row;
    EXPECT_EQ(castBoolean(value), cell<bool>(row[1])) << row;
    EXPECT_EQ(node.castInteger(), cell<std::int64_t>(row[2])) << row;
    EXPECT_EQ(castInteger(value), cell<std::int64_t>(row[2])) << row;
    EXPECT_EQ(node.castDouble(), cell<double>(row[3])) << row;
    if (row[0] != "9223372036854775809") {
      EXPECT_EQ(castDouble(value), cell<double>(row[3])) << row;
    }
    EXPECT_EQ(node.castText(), cell<std::string>(row[4])) << row;
    EXPECT_EQ(castText(value), cell<std::string>(row[4])) << row;
  }
}

TEST(Json, StrictReadsTellMismatchFromCorruption) {
  constexpr const char* names[] = {"ok", "null", "mismatch", "corrupt"};
  const auto ending = [&](const Node& node, auto target) {
    return names[static_cast<std::size_t>(node.read(target))];
  };
  for (const auto& row : dataFile("json-reads.json")) {
    const auto document = Document::parse(row[0].get<std::string>(), Fragments::yes);
    ASSERT_TRUE(document) << row;
    EXPECT_EQ(ending(document->root(), std::int64_t{0}), row[1]) << row;
    EXPECT_EQ(ending(document->root(), 0.0), row[2]) << row;
    EXPECT_EQ(ending(document->root(), false), row[3]) << row;
    EXPECT_EQ(ending(document->root(), std::string()), row[4]) << row;
  }
}

TEST(JsonWriter, EscapesWhatTheServerExpectsAndGivesWholeNumbersNoPoint) {
  for (const auto& row : dataFile("json-escapes.json")) {
    std::string out = ">";
    EXPECT_TRUE(appendText(out, row[0].get<std::string>()));
    EXPECT_EQ(out, ">" + row[1].get<std::string>());
  }
  std::string out = ">";
  for (const std::string& text : {"\xff"s, "a\xc3"s, "\xed\xa0\x80"s, "\xc0\x80/"s}) {
    EXPECT_FALSE(appendText(out, text));
  }
  EXPECT_FALSE(appendNumber(out, std::nan("")));
  EXPECT_FALSE(appendNumber(out, -std::numeric_limits<double>::infinity()));
  EXPECT_EQ(out, ">");
  for (const auto& row : dataFile("json-written.json")) {
    std::string number;
    EXPECT_TRUE(appendNumber(number, row[0].get<double>()));
    EXPECT_EQ(number, row[1]);
  }
}

TEST(JsonWriter, RefusesValuesThatJsonCannotHold) {
  Value deep(List{});
  for (int level = 1; level < 512; ++level) deep = List{std::move(deep)};
  EXPECT_EQ(compactText(deep), nested(512));
  const Value refused[] = {Value(dateSince1970(0)),     Value(std::nan("")), Value(Decimal{"1e"}),
                           Value(Decimal{"-1e309"}),    Value("\xff"),       Value(Dictionary{{"\xff", 1}}),
                           Value(List{std::move(deep)})};
  for (const Value& value : refused) {
    std::string out = "before";
    EXPECT_FALSE(appendValue(out, List{1, value}));
    EXPECT_EQ(out, "before");
  }
  EXPECT_FALSE(compactText("a lone text"));
  EXPECT_EQ(compactText(List{Decimal{"18446744073709551616"}, true, 1}), "[18446744073709551616,true,1]");
}

TEST(JsonWriter, ThePrettyFormHasAMemberALine) {
  EXPECT_EQ(prettyText(Dictionary{{"a", List{1, "x/"}}, {"b", List{Value(Dictionary{})}}}),
            "{\n  \"a\" : [\n    1,\n    \"x\\/\"\n  ],\n  \"b\" : [\n    {\n\n    }\n  ]\n}");
  EXPECT_EQ(prettyText(List{}), "[\n\n]");
}

TEST(JsonCheck, TakesCompleteCompactObjectsWithoutAReservedKey) {
  constexpr std::string_view reserved[] = {"campaign_subtype", "inapp_status"};
  auto cases = dataFile("json-plain.json");
  cases["taken"].push_back("{\"a\":" + nested(63) + "}");
  for (const std::string text : cases["taken"]) {
    EXPECT_TRUE(isPlainObjectWithout(text, reserved)) << text;
    EXPECT_TRUE(Document::parse(text)) << text;
  }
  auto refused = cases["refused"].get<std::vector<std::string>>();
  refused.insert(refused.end(), {"{\"a\":\"\xff\"}", "{\"\xc0\xaf\":1}", std::string(100000, '['),
                                 "{\"a\":" + std::string(310, '1') + "}", "{\"a\":" + nested(64) + "}"});
  for (const std::string& text : refused) EXPECT_FALSE(isPlainObjectWithout(text, reserved)) << text;
}

}  // namespace
}  // namespace sorn::support
