#include <cmath>
#include <limits>
#include <random>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "support/json/Json.h"
#include "support/json/JsonCheck.h"
#include "support/json/JsonWriter.h"

namespace sorn::support {
namespace {

using namespace std::string_literals;

TEST(JsonWriter, EscapesWhatTheServerExpects) {
  const std::pair<std::string, std::string> cases[] = {
      {"", R"("")"},
      {"plain text 123", R"("plain text 123")"},
      {"a/b", R"("a\/b")"},
      {"\"\\", R"("\"\\")"},
      {"\b\f\n\r\t", R"("\b\f\n\r\t")"},
      {"\x01\x1f\x7f"s, "\"\\u0001\\u001f\x7f\""},
      {"\0x"s, R"("\u0000x")"},
      {"\u00e9\u65e5\U0001F600/", "\"\u00e9\u65e5\U0001F600\\/\""},
  };
  for (const auto& [text, expected] : cases) {
    std::string out = ">";
    EXPECT_TRUE(appendText(out, text));
    EXPECT_EQ(out, ">" + expected);
  }
  for (const std::string& text : {"\xff"s, "a\xc3"s, "\xed\xa0\x80"s, "\xc0\x80/"s}) {
    std::string out = ">";
    EXPECT_FALSE(appendText(out, text));
    EXPECT_EQ(out, ">");
  }
}

TEST(JsonWriter, NumbersAreShortAndWholeOnesHaveNoPoint) {
  const std::pair<double, const char*> cases[] = {
      {1.0, "1"},           {-2.0, "-2"},
      {100000.0, "100000"}, {1700000000.25, "1700000000.25"},
      {0.1, "0.1"},         {1e300, "1e+300"},
      {-0.0, "0"},          {123456789012345678.0, "123456789012345680"},
      {5e-324, "5e-324"},   {1.0 / 3, "0.3333333333333333"},
  };
  for (const auto& [number, expected] : cases) {
    std::string out;
    EXPECT_TRUE(appendNumber(out, number));
    EXPECT_EQ(out, expected);
  }
  std::string out;
  EXPECT_FALSE(appendNumber(out, std::nan("")));
  EXPECT_FALSE(appendNumber(out, -std::numeric_limits<double>::infinity()));
  appendNumber(out, std::numeric_limits<std::int64_t>::min());
  EXPECT_EQ(out, "-9223372036854775808");
}

TEST(JsonWriter, RefusesValuesThatJsonCannotHold) {
  Value deep(List{});
  for (int level = 1; level < 512; ++level) deep = List{std::move(deep)};
  EXPECT_EQ(compactText(deep), std::string(512, '[') + std::string(512, ']'));
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
  EXPECT_EQ(prettyText(Dictionary{{"a", List{1, "x/"}}, {"b", List{Value(Dictionary{})}}}), R"({
  "a" : [
    1,
    "x\/"
  ],
  "b" : [
    {

    }
  ]
})");
  EXPECT_EQ(prettyText(List{}), "[\n\n]");
}

Value randomValue(std::mt19937_64& random, int depth) {
  static const std::string alphabet[] = {"a",    "/",      "\"",         "\\",    "\n",
                                         "\x02", "\u00e9", "\U0001F600", "\u2028"};
  const auto kind = random() % (depth > 0 ? 7 : 5);
  if (kind == 0) return nullptr;
  if (kind == 1) return random() % 2 == 0;
  if (kind == 2) return static_cast<std::int64_t>(random());
  // Never whole: a whole double is written, and so read back, as an integer.
  if (kind == 3)
    return std::ldexp(static_cast<double>(random() % 100000) + 0.5, -static_cast<int>(random() % 200));
  std::string text;
  List list;
  Dictionary dictionary;
  for (auto count = random() % 12; count > 0; --count) text += alphabet[random() % std::size(alphabet)];
  if (kind == 4) return text;
  for (auto count = random() % 4; count > 0; --count) list.push_back(randomValue(random, depth - 1));
  if (kind == 5) return list;
  for (const Value& value : list) dictionary[std::to_string(random() % 50)] = value;
  return dictionary;
}

TEST(JsonWriter, WhatIsWrittenReadsBackEqual) {
  std::mt19937_64 random(7);
  for (int round = 0; round < 2000; ++round) {
    const Value value = List{randomValue(random, 5)};
    for (const auto& text : {compactText(value), prettyText(value)}) {
      ASSERT_TRUE(text);
      const auto document = Document::parse(*text);
      ASSERT_TRUE(document) << *text;
      ASSERT_EQ(document->root().toValue(), value) << *text;
    }
  }
}

constexpr std::string_view reserved[] = {"campaign_subtype", "inapp_status"};

TEST(JsonCheck, TakesCompleteCompactObjects) {
  const std::string taken[] = {
      "{}",
      R"({"a":1})",
      R"({"B_a":true,"D_b":1700000000.123456,"N_c":-0.5e-7,"S_d":"x\/y","e":null,"f":false})",
      R"({"a":{"inapp_status":[{},[],[0,-1,"]}"]]},"b":[[[]]]})",
      R"({"":"","inapp_statu":1,"inapp_status2":2})",
      "{\"S_a\":\"\u00e9\U0001F600\\ud83d\\ude00\\u00e9\"}",
      "{\"a\":" + std::string(63, '[') + std::string(63, ']') + "}",
      "{\"a\":[1e99,-1.5E-99," + std::string(100, '1') + "]}",
  };
  for (const std::string& text : taken) {
    EXPECT_TRUE(isPlainObjectWithout(text, reserved)) << text;
    EXPECT_TRUE(Document::parse(text)) << text;
  }
}

// The documents between the blanks.
std::vector<std::string> words(const std::string& text) {
  std::istringstream stream(text);
  return {std::istream_iterator<std::string>(stream), {}};
}

TEST(JsonCheck, RefusesWhatIsNotPlainOrTakesAReservedKey) {
  std::vector<std::string> refused = words(
      R"(} [] 1 {}} {}, {"a"} {"a":} {"a":1,} {,"a":1} {"a":[1}} {"a":{1:2}} {"a":tru} {"a":"x} {"a":"\x"}
         {"a":01} {"a":1.} {"a":.5} {"a":+1} {"a":-} {"a":1e} {"a":NaN} {"a":1e999} {"a":-0.1e+100}
         {"a":"\u12g4"} {"a":"\ud800"} {"a":"\udc00"} {"a":"\ud800\u0041"} {"a\u0062":1}
         {"inapp_status":1} {"inapp\u005fstatus":1} {"a":{"b":[]},"campaign_subtype":2})");
  refused.insert(refused.end(), {"{\"a\":1 }", "{ \"a\":1}", "{\"a\" :1}", "{\"a\":1}\n", "{\"a\":\"\n\"}",
                                 "{\"a\":\"\xff\"}", "{\"\xc0\xaf\":1}", "{\"a\":1}\0"s, "{\"a\0\":1}"s,
                                 "{\"a\":" + std::string(310, '1') + "}", std::string(100000, '['),
                                 "{\"a\":" + std::string(64, '[') + std::string(64, ']') + "}"});
  for (const std::string& text : refused) EXPECT_FALSE(isPlainObjectWithout(text, reserved)) << text;
}

TEST(JsonCheck, EveryCutOfAnObjectIsIncomplete) {
  const std::string whole = R"({"a":{"b":[1.5e3,"\ud83d\ude00\n",true,null]},"c":"x"})";
  ASSERT_TRUE(isPlainObjectWithout(whole, reserved));
  for (std::size_t length = 0; length < whole.size(); ++length) {
    // A copy of exactly this length, so that the sanitizer sees a read behind it.
    const std::vector<char> cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length));
    EXPECT_FALSE(isPlainObjectWithout({cut.data(), cut.size()}, reserved)) << length;
  }
}

}  // namespace
}  // namespace sorn::support
