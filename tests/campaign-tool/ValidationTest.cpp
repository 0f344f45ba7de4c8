#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "documents/CampaignTexts.h"
#include "sorn-campaign/Validation.h"

namespace sorn::tool {
namespace {

using documents::replaced;

// The findings as the tool prints them, without the file.
std::vector<std::string> printed(std::string_view text) {
  std::vector<std::string> lines;
  for (const Finding& finding : validate(text)) {
    lines.push_back(std::to_string(finding.place.line) + ":" + std::to_string(finding.place.column) + ": " +
                    finding.path + ": " + finding.cause);
  }
  return lines;
}

// A campaign that is selected; its list, braces and keys begin at known places.
constexpr std::string_view good = R"([
 {"id": "a", "version": {"android": 1, "ios": 1}, "audience": "all",
  "content": {"viewType": "text", "children": []},
  "content_metadata": {"type": "dialog", "background_color": "é",
   "show_close_button": true, "dismissable_on_tap": true},
  "trigger": {"type": "on_app_open"}}
])";

struct Case {
  std::string text;
  std::vector<std::string> lines;
};

TEST(Validation, FaultsStandAtTheWrongValueOrTheBraceOfTheirObject) {
  ASSERT_EQ(printed(good), std::vector<std::string>());
  const Case cases[] = {
      {replaced(good, "\"id\": \"a\", ", ""), {"2:2: [0].id: required key is missing"}},
      {replaced(good, ", \"ios\": 1", ""), {"2:25: [0].version.ios: required key is missing"}},
      {replaced(good, "[]", "[ {} ]"),
       {"3:49: [0].content.children[0].viewType: required key is missing",
        "3:49: [0].content.children[0].children: required key is missing"}},
      // Columns count bytes, and the colour has two.
      {replaced(replaced(good, "\"é\",\n  ", "\"é\","), "true", "1"),
       {"4:89: [0].content_metadata.show_close_button: expected a boolean, found a number"}},
      {replaced(good, "\n {", "\r\n {\"priority\": 1.5,"),
       {"2:15: [0].priority: the number is out of range or not an integer"}},
      {"\xEF\xBB\xBF{}", {"1:4: $: expected a list, found an object"}},
  };
  for (const Case& each : cases) EXPECT_EQ(printed(each.text), each.lines) << each.text;
}

TEST(Validation, EveryFaultIsToldInTheOrderOfTheFile) {
  std::string text = replaced(good, "\"android\": 1", "\"android\": \"1\"");
  text = replaced(text, "\"all\"", "\"none\"");
  text = replaced(text, "\"viewType\": \"text\"", "\"padding\": [1, 2]");
  text = replaced(text, "}}\n]", "},\n  \"extra_data\": {\"a.b\": 1, \"c\": null}}\n]");
  EXPECT_EQ(printed(text), (std::vector<std::string>{
                               "2:37: [0].version.android: expected an integer, found a text",
                               R"(2:65: [0].audience: expected one of "all", "android", "ios", found "none")",
                               "3:14: [0].content.viewType: required key is missing",
                               "3:26: [0].content.padding: expected four numbers, found 2",
                               "7:25: [0].extra_data[\"a.b\"]: expected a text, found a number",
                               "7:33: [0].extra_data.c: expected a text, found null",
                           }));
}

TEST(Validation, ThePlaceIsThatOfTheMemberThatCounts) {
  const std::string text =
      R"([{"i\u0064":1,"id":"not read","version":0,"audience":0,"content":0,"content_metadata":0,"trigger":0}])";
  EXPECT_EQ(printed(text).front(), "1:13: [0].id: expected a text, found a number");
  EXPECT_EQ(printed(text).size(), 6u);
}

TEST(Validation, BadSyntaxIsOneFaultAtItsFirstByte) {
  const Case cases[] = {
      {"", {"1:1: $: the document ends too early"}},
      {"[\n", {"2:1: $: the document ends too early"}},
      {"[1 2]", {"1:4: $: expected a comma or a closing \"]\""}},
      {"[{\"a\" 1}]", {"1:7: $: expected a colon behind the key"}},
      {"[{a: 1}]", {"1:3: $: expected a key in quotes"}},
      {"[1,,2]", {"1:4: $: expected a value"}},
      {"[\n \"a\\x\"]", {"2:4: $: an unknown escape in a text"}},
      {"[\"a\nb\"]", {"1:4: $: a control character in a text"}},
      {"[\"\\ud83d\"]", {"1:3: $: an escape that is half a character"}},
      {"[\"\\u12g4\"]", {"1:3: $: an escape without four hexadecimal digits"}},
      {"[\"é\xC3\"]", {"1:5: $: a byte that is not UTF-8"}},
      {"[\"abc]", {"1:2: $: a text without its closing quote"}},
      {"[] x", {"1:4: $: unexpected text behind the document"}},
      {" 5", {"1:2: $: the document is neither a list nor an object"}},
      {std::string(513, '[') + std::string(513, ']'), {"1:513: $: nested more than 512 levels deep"}},
  };
  for (const Case& each : cases) EXPECT_EQ(printed(each.text), each.lines) << each.text;
}

TEST(Validation, WhatIsNeverSelectedSaysWhy) {
  const std::string_view trigger = R"("trigger": {"type": "on_app_open"})";
  const std::string_view plain = R"("type": "on_app_open")";
  const auto withFrequency = [&](std::string_view frequency) {
    return replaced(good, trigger, std::string(trigger).append(",\n  \"frequency\": ").append(frequency));
  };
  const Case cases[] = {
      {replaced(good, trigger, R"("trigger": null)"),
       {"6:14: [0].trigger: never selected: there is no trigger"}},
      {replaced(good, std::string(",\n  ").append(trigger), ""),
       {"2:2: [0].trigger: never selected: there is no trigger"}},
      {replaced(good, "\"ios\": 1", "\"ios\": 2"),
       {"2:47: [0].version.ios: never selected: version 2 is above this engine's 1"}},
      {replaced(good, "\"ios\": 1", "\"ios\": -1"), {}},
      {replaced(good, "\"all\"", "\"android\""),
       {"2:63: [0].audience: never selected: the audience is \"android\""}},
      {replaced(good, "\"all\"", "\"ios\", \"paused\": true"),
       {"2:80: [0].paused: never selected: the campaign is paused"}},
      {replaced(good, plain, R"("type": "on_visited_screen")"),
       {"6:14: [0].trigger.target: never selected: the trigger has no target"}},
      {replaced(good, plain, R"("type": "on_visited_screen", "target": "+APP_OPENED")"), {}},
      {replaced(good, plain, R"("type": "on_performed_event", "target": "+APP_OPENED")"),
       {"6:55: [0].trigger.target: never selected: this event fires \"on_app_open\" alone"}},
      {replaced(good, plain, R"("type": "on_in_app_trigger")"), {}},
      {withFrequency(R"({"type": "multiple_times"})"),
       {"7:16: [0].frequency.details: never selected: \"multiple_times\" without details has a bound of 0"}},
      {withFrequency(R"({"type": "multiple_times", "details": {"times": 0, "gap": 1}})"),
       {"7:64: [0].frequency.details.times: never selected: \"multiple_times\" has a bound of 0"}},
      {withFrequency(R"({"type": "multiple_times", "details": {"times": 1, "gap": 1}})"), {}},
      {withFrequency(R"({"type": "once", "details": {"times": 0, "gap": 1}})"), {}},
  };
  for (const Case& each : cases) {
    EXPECT_EQ(printed(each.text), each.lines) << each.text;
    for (const Finding& finding : validate(each.text)) EXPECT_EQ(finding.weight, Finding::Weight::note);
  }
}

TEST(Validation, AFaultyValueHasItsFaultAlone) {
  const Case cases[] = {
      {replaced(good, R"({"type": "on_app_open"})", "5"),
       {"6:14: [0].trigger: expected an object, found a number"}},
      {replaced(good, "[]", R"([], "padding": "none")"),
       {"3:62: [0].content.padding: expected a list, found a text"}},
      {replaced(good, R"("on_app_open"})",
                R"("on_app_open"}, "frequency": {"type": "multiple_times",)"
                R"("details": {"gap": 1}})"),
       {"6:89: [0].frequency.details.times: required key is missing"}},
  };
  for (const Case& each : cases) EXPECT_EQ(printed(each.text), each.lines) << each.text;
  // A fault elsewhere hides nothing.
  EXPECT_EQ(printed(replaced(replaced(good, "\"a\"", "1"), "\"all\"", "\"android\"")).size(), 2u);
}

}  // namespace
}  // namespace sorn::tool
