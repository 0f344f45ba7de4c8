#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <unicode/regex.h>
#include <unicode/unistr.h>

#include "device/VersionNumber.h"
#include "events/NamePatterns.h"
#include "fakes/DataFile.h"
#include "support/TextTrim.h"
#include "support/json/Json.h"

namespace sorn::support {
namespace {

using namespace std::literals;
using device::VersionNumber;
using events::isEventName;
using events::isExtraKey;
using events::isScreenName;
using events::keyAndValue;

// ICU's regular expressions, which the matchers must agree with.
class Pattern {
 public:
  explicit Pattern(const char* source, std::uint32_t flags = 0) {
    UErrorCode status = U_ZERO_ERROR;
    matcher_.reset(new icu::RegexMatcher(icu::UnicodeString::fromUTF8(source), flags, status));
    if (U_FAILURE(status)) throw std::invalid_argument(u_errorName(status));
  }

  bool matchesAll(const std::string& text) {
    UErrorCode status = U_ZERO_ERROR;
    read(text);
    return matcher_->matches(status) && U_SUCCESS(status);
  }
  // The groups of the first match, absent where a group took no part; empty without a match.
  std::vector<std::optional<std::string>> first(const std::string& text) {
    UErrorCode status = U_ZERO_ERROR;
    read(text);
    std::vector<std::optional<std::string>> groups;
    if (!matcher_->find(status)) return groups;
    for (int group = 0; group <= matcher_->groupCount(); ++group) {
      std::optional<std::string> taken;
      if (matcher_->start(group, status) >= 0) matcher_->group(group, status).toUTF8String(taken.emplace());
      groups.push_back(taken);
    }
    return groups;
  }

 private:
  void read(const std::string& text) {
    subject_ = icu::UnicodeString::fromUTF8(text);
    matcher_->reset(subject_);
  }

  icu::UnicodeString subject_;
  std::unique_ptr<icu::RegexMatcher> matcher_;
};

// Short texts of characters that the patterns treat differently.
std::string randomText(std::mt19937& random, const char* name, std::size_t longest) {
  static const nlohmann::json alphabets = tests::dataFile("alphabets.json");
  const nlohmann::json& alphabet = alphabets[name];
  std::string text;
  for (auto count = random() % (longest + 1); count > 0; --count)
    text += alphabet[random() % alphabet.size()].get<std::string>();
  return text;
}

TEST(NamePatterns, AgreeWithRegularExpressions) {
  Pattern eventName(R"(^[^\+][\x20-\x5B\x5D-\x7E]{1,50}$)");
  Pattern screenName(R"(^([\x20-\x2D\x2F-\x5B\x5D-\x7E]{1,50}\.)*+[\x20-\x2D\x2F-\x5B\x5D-\x7E]{1,50}$)");
  Pattern extraKey(R"(^\w+$)");
  Pattern pair("([^=]+)=(.+)", UREGEX_CASE_INSENSITIVE);
  std::mt19937 random(11);
  const std::string fifty(50, 'a');
  for (int round = 0; round < 40000; ++round) {
    std::string text = randomText(random, "names", 5);
    if (round % 8 == 0) text.insert(random() % 2 ? 0 : text.size(), fifty);
    ASSERT_EQ(isEventName(text), eventName.matchesAll(text)) << text;
    ASSERT_EQ(isScreenName(text), screenName.matchesAll(text)) << text;
    ASSERT_EQ(isExtraKey(text), extraKey.matchesAll(text)) << text;
    const std::string words = randomText(random, "words", 7);
    const auto expected = pair.first(words);
    const auto found = keyAndValue(words);
    ASSERT_EQ(found.has_value(), !expected.empty()) << words;
    if (!found) continue;
    ASSERT_EQ(found->first, *expected[1]) << words;
    ASSERT_EQ(found->second, *expected[2]) << words;
  }
  for (char32_t character = 1; character <= 0x10FFFF; ++character) {
    if (character >= 0xD800 && character <= 0xDFFF) continue;
    std::string text;
    icu::UnicodeString(static_cast<UChar32>(character)).toUTF8String(text);
    ASSERT_EQ(isExtraKey(text), extraKey.matchesAll(text)) << std::hex << std::uint32_t{character};
  }
}

TEST(NamePatterns, TextThatIsNotUtf8MatchesNone) {
  for (const std::string& text :
       {"\xff"s, "ab\xc3"s, "\xed\xa0\x80"s, "\xf4\x90\x80\x80"s, "\xc0\x80"s, "\xe2\x82"s}) {
    EXPECT_FALSE(isEventName(text + "aa"));
    EXPECT_FALSE(isScreenName(text));
    EXPECT_FALSE(isExtraKey(text));
  }
}

TEST(VersionNumber, AgreesWithItsRegularExpression) {
  Pattern version(
      R"((?<version>(?<major>\d+)\.?(?<minor>\d+)?\.?(?<patch>\d+)?)(-.*(?<beta>\bbeta(?<betaNumber>\d+\b))|)"
      R"(-.*?(?<otherNumber>\d+(?=\D*$)))?)",
      UREGEX_CASE_INSENSITIVE | UREGEX_COMMENTS);
  std::mt19937 random(3);
  for (int round = 0; round < 100000; ++round) {
    std::string text = randomText(random, "versions", 8);
    if (round % 2 == 0) text.insert(0, "1.2.3-");
    const auto groups = version.first(text);
    const auto found = VersionNumber::find(text);
    ASSERT_EQ(found.has_value(), !groups.empty()) << text;
    if (!found) continue;
    ASSERT_EQ(found->major, *groups[2]) << text;
    ASSERT_EQ(found->minor, groups[3]) << text;
    ASSERT_EQ(found->patch, groups[4]) << text;
    ASSERT_EQ(found->beta, groups[7]) << text;
    ASSERT_EQ(found->other, groups[8]) << text;
  }
}

TEST(TextTrim, TakesItsClassOffBothEnds) {
  EXPECT_EQ(trimWhitespaceAndNewlines(" \t\r\n\u00a0\u2003\u200b\u3000a b\u0085\u2029 "), "a b");
  EXPECT_EQ(trimWhitespaceAndNewlines(" \u2028 "), "");
  EXPECT_EQ(trimWhitespaceAndNewlines("\u200ca\u2060"), "\u200ca\u2060");
  EXPECT_EQ(trimControlCharacters("\x00\x1f\u200e x86_64 \u0085\u00ad"s.insert(0, 1, '\0')), " x86_64 ");
  EXPECT_EQ(trimNotAlphanumeric("##00ff00 !"), "00ff00");
  EXPECT_EQ(trimNotAlphanumeric("#\u00e9-\u0301\u00b2\U0001F600"), "\u00e9-\u0301\u00b2");
  EXPECT_EQ(trimNotAlphanumeric("\xff#\xe2\x82"), "");
  EXPECT_EQ(trimNotAlphanumeric(""), "");
}

TEST(TextTrim, CountsWhatAReaderCounts) {
  const std::pair<std::string, std::size_t> cases[] = {
      {"", 0},        {"abc\n", 4},        {"a\r\nb", 3},
      {"e\u0301", 1}, {"\u65e5\u672c", 2}, {"\U0001F468\u200d\U0001F469", 1}};
  for (const auto& [text, count] : cases) EXPECT_EQ(graphemeCount(text), count) << text;
}

TEST(TextTrim, ScansHexadecimalFromTheStart) {
  EXPECT_EQ(scanHex("0xFF00"), 0xFF00u);
  EXPECT_EQ(scanHex(" \n\u00a00Xaz9"), 0xAu);
  EXPECT_EQ(scanHex("0x"), 0u);
  EXPECT_EQ(scanHex("0xg"), 0u);
  EXPECT_EQ(scanHex("ffffffffffffffff"), 0xFFFFFFFFFFFFFFFFu);
  EXPECT_EQ(scanHex("00000000000000000000001"), 1u);
  EXPECT_EQ(scanHex("10000000000000000"), 0xFFFFFFFFFFFFFFFFu);
  for (const char* text : {"", " ", "g1", "x1", "-1", "#1"}) EXPECT_FALSE(scanHex(text)) << text;
}

}  // namespace
}  // namespace sorn::support
