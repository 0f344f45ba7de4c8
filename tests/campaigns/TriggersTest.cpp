#include <limits>

#include <gtest/gtest.h>

#include "campaigns/Samples.h"
#include "campaigns/Triggers.h"

namespace sorn::campaigns {
namespace {

using TriggerType = SornInAppCampaign::Trigger::TriggerType;

std::string nameOrPass(std::optional<Outcome> outcome) {
  return outcome ? std::string(nameOf(*outcome)) : "passes";
}

TEST(Triggers, PausedForeignAndLaterCampaignsTakeNoPart) {
  const std::pair<const char*, const char*> cases[] = {
      {"", "passes"},
      {R"("paused":false)", "passes"},
      {R"("paused":null)", "passes"},
      {R"("paused":true)", "paused"},
      {R"("test":true)", "passes"},
      {R"("audience":"ios")", "passes"},
      {R"("audience":"android")", "audience"},
      {R"("version":{"android":9,"ios":1})", "passes"},
      {R"("version":{"android":1,"ios":0})", "passes"},
      {R"("version":{"android":1,"ios":-9223372036854775808})", "passes"},
      {R"("version":{"android":1,"ios":2})", "version"},
      {R"("version":{"android":1,"ios":9223372036854775807})", "version"},
      {R"("paused":true,"audience":"android","version":{"android":1,"ios":2})", "paused"},
      {R"("audience":"android","version":{"android":1,"ios":2})", "audience"},
  };
  for (const auto& [members, expected] : cases) {
    EXPECT_EQ(nameOrPass(ineligibility(campaignOf("a", members))), expected) << members;
  }
}

Occasion eventOf(std::string action, std::map<std::string, std::string, std::less<>> texts = {}) {
  return {std::move(action), std::move(texts)};
}

TEST(Triggers, ActionAndScreenNameDecideWhatIsWanted) {
  struct Case {
    Occasion occasion;
    const char* trigger;
    const char* expected;
  };
  const std::string screen = "+SCREEN_OPENED";
  const Case cases[] = {
      {eventOf("+APP_OPENED"), R"({"type":"on_app_open"})", "passes"},
      {eventOf("+APP_OPENED"), R"({"type":"on_app_open","target":"x","attributes":[
          {"type":"string","key":"k","operator":"=","value":"v"}]})",
       "passes"},
      {eventOf("+APP_OPENED"), R"({"type":"on_performed_event","target":"+APP_OPENED"})", "trigger"},
      {eventOf("+APP_CLOSED"), R"({"type":"on_app_open"})", "trigger"},
      {eventOf("+APP_CLOSED"), R"({"type":"on_performed_event","target":"+APP_CLOSED"})", "passes"},
      {eventOf(screen, {{"screen_name", "home"}}), R"({"type":"on_visited_screen","target":"home"})",
       "passes"},
      {eventOf(screen, {{"screen_name", "home"}}), R"({"type":"on_visited_screen","target":"Home"})",
       "trigger"},
      {eventOf(screen, {{"screen_name", "home"}}), R"({"type":"on_visited_screen"})", "trigger"},
      {eventOf(screen, {{"screen_name", ""}}), R"({"type":"on_visited_screen","target":""})", "passes"},
      {eventOf(screen, {{"screen_name", "home"}}),
       R"({"type":"on_performed_event","target":"+SCREEN_OPENED"})", "trigger"},
      {eventOf(screen), R"({"type":"on_performed_event","target":"+SCREEN_OPENED"})", "passes"},
      {eventOf(screen), R"({"type":"on_visited_screen","target":"+SCREEN_OPENED"})", "trigger"},
      {eventOf("bought", {{"screen_name", "home"}}), R"({"type":"on_visited_screen","target":"home"})",
       "trigger"},
      {eventOf("bought"), R"({"type":"on_performed_event","target":"bought"})", "passes"},
      {eventOf("bought"), R"({"type":"on_performed_event","target":"bought "})", "trigger"},
      {eventOf("bought"), R"({"type":"on_performed_event"})", "trigger"},
      {eventOf(""), R"({"type":"on_performed_event","target":""})", "passes"},
      {eventOf(""), R"({"type":"on_performed_event"})", "trigger"},
      {eventOf("bought"), R"({"type":"on_in_app_trigger"})", "trigger"},
      {{}, R"({"type":"on_in_app_trigger","target":"x"})", "passes"},
      {{}, R"({"type":"on_performed_event"})", "trigger"},
      {{}, R"({"type":"on_app_open"})", "trigger"},
      {{}, "null", "trigger"},
  };
  for (const Case& each : cases) {
    const auto campaign = campaignOf("a", "\"trigger\":" + std::string(each.trigger));
    EXPECT_EQ(nameOrPass(triggerMismatch(campaign, wantedBy(each.occasion), each.occasion)), each.expected)
        << each.occasion.action.value_or("no action") << " " << each.trigger;
  }
}

// A dictionary with "k" and the outcome of "=", "!=", "<", "<=", ">" and ">=" against `value`, as + and -.
TEST(Triggers, AttributesCompareAsTextByCodeUnit) {
  struct Case {
    std::map<std::string, std::string, std::less<>> texts;
    const char* key;
    const char* value;
    const char* expected;
  };
  const Case cases[] = {
      {{{"k", "v"}}, "k", "v", "+--+-+"},
      {{{"k", "10"}}, "k", "9", "-+++--"},
      {{{"k", "9"}}, "k", "10", "-+--++"},
      {{{"k", "9"}}, "k", "9.0", "-+++--"},
      {{{"k", "Z"}}, "k", "a", "-+++--"},
      {{{"k", ""}}, "k", "a", "-+++--"},
      {{{"k", ""}}, "k", "", "+--+-+"},
      {{{"k", "ab"}}, "k", "a", "-+--++"},
      {{{"k", "\xC3\xA9"}}, "k", "z", "-+--++"},
      {{{"k", "true"}}, "k", "True", "-+--++"},
      {{}, "k", "v", "-+----"},
      {{}, "k", "", "-+----"},
      {{{"K", "v"}}, "k", "v", "-+----"},
      {{{"a.b", "v"}}, "a.b", "v", "-+----"},
      {{{"a", "v"}}, "a.b", "v", "-+----"},
      {{{".", "v"}}, ".", "v", "-+----"},
  };
  for (const Case& each : cases) {
    std::string outcomes;
    for (const char* operation : {"=", "!=", "<", "<=", ">", ">="}) {
      const auto campaign =
          campaignOf("a", R"("trigger":{"type":"on_in_app_trigger","attributes":[{"type":"number","key":")" +
                              std::string(each.key) + R"(","operator":")" + operation + R"(","value":")" +
                              each.value + "\"}]}");
      outcomes += attributesHold(*campaign.trigger, {std::nullopt, each.texts}) ? '+' : '-';
    }
    EXPECT_EQ(outcomes, each.expected) << each.key << " against " << each.value;
  }
}

TEST(Triggers, AllAttributesMustHoldAndNoneHolds) {
  const Occasion occasion{std::nullopt, {{"colour", "red"}, {"size", "L"}}};
  const std::string red = R"({"type":"string","key":"colour","operator":"=","value":"red"})";
  const std::string small = R"({"type":"string","key":"size","operator":"=","value":"S"})";
  const std::string large = R"({"type":"string","key":"size","operator":"=","value":"L"})";
  const std::pair<std::string, const char*> cases[] = {{"null", "passes"},
                                                       {"[]", "passes"},
                                                       {"[" + red + "]", "passes"},
                                                       {"[" + red + "," + large + "]", "passes"},
                                                       {"[" + red + "," + small + "]", "attributes"},
                                                       {"[" + small + "," + red + "]", "attributes"}};
  for (const auto& [attributes, expected] : cases) {
    const auto campaign =
        campaignOf("a", R"("trigger":{"type":"on_in_app_trigger","attributes":)" + attributes + "}");
    EXPECT_EQ(nameOrPass(triggerMismatch(campaign, wantedBy(occasion), occasion)), expected) << attributes;
  }
}

TEST(Triggers, DelayIsOverWhenExactlySoMuchTimeHasPassed) {
  struct Case {
    const char* metadata;
    std::optional<double> sinceLast;
    bool holds;
  };
  const Case cases[] = {
      {"null", std::nullopt, true},
      {"null", 0, true},
      {"null", -0.5, false},
      {"{}", -1, false},
      {R"({"last_in_app_delay":null})", 0, true},
      {R"({"last_in_app_delay":0})", -1, false},
      {R"({"last_in_app_delay":60})", std::nullopt, true},
      {R"({"last_in_app_delay":60})", 59.5, false},
      {R"({"last_in_app_delay":60})", 60, true},
      {R"({"last_in_app_delay":60})", 60.5, true},
      {R"({"last_in_app_delay":60})", -60, false},
      {R"({"last_in_app_delay":-60})", -60, true},
      {R"({"last_in_app_delay":-60})", -60.5, false},
  };
  constexpr double now = 1'700'000'000;
  for (const Case& each : cases) {
    const auto campaign = campaignOf("a", "\"trigger_metadata\":" + std::string(each.metadata));
    const auto last = each.sinceLast ? std::optional(now - *each.sinceLast) : std::nullopt;
    EXPECT_EQ(delayHolds(campaign, last, now), each.holds) << each.metadata << each.sinceLast.value_or(9999);
  }
}

TEST(Triggers, FrequencyBoundsHowOftenACampaignIsShown) {
  struct Case {
    const char* frequency;
    std::optional<double> sinceLast;
    std::int64_t count;
    bool holds;
  };
  constexpr auto twice = R"({"type":"multiple_times","details":{"times":2,"gap":3600}})";
  constexpr auto withoutGap = R"({"type":"multiple_times","details":{"times":3,"gap":0}})";
  const Case cases[] = {
      {"null", 0, 9, true},
      {R"({"type":"every_time"})", 0, 32767, true},
      {R"({"type":"every_time","details":{"times":0,"gap":1e9}})", -1, 9, true},
      {R"({"type":"once"})", std::nullopt, 0, true},
      {R"({"type":"once"})", std::nullopt, 5, true},
      {R"({"type":"once"})", 1e9, 1, false},
      {R"({"type":"once"})", -1e9, 0, false},
      {R"({"type":"multiple_times"})", std::nullopt, 0, false},
      {twice, std::nullopt, 0, true},
      {twice, 3599.5, 1, false},
      {twice, 3600, 1, true},
      {twice, 1e9, 2, false},
      {twice, -1, 1, false},
      {withoutGap, 0, 2, true},
      {withoutGap, -0.5, 2, false},
      {R"({"type":"multiple_times","details":{"times":-1,"gap":0}})", std::nullopt, 0, false},
      // Until the first presentation the last one counts as at the beginning of 1970.
      {R"({"type":"multiple_times","details":{"times":1,"gap":1700000000}})", std::nullopt, 0, true},
      {R"({"type":"multiple_times","details":{"times":1,"gap":1700000001}})", std::nullopt, 0, false},
      {R"({"type":"multiple_times","details":{"times":9223372036854775807,"gap":-5}})", 0, 32767, true},
  };
  constexpr double now = 1'700'000'000;
  for (const Case& each : cases) {
    const auto campaign = campaignOf("a", "\"frequency\":" + std::string(each.frequency));
    const auto last = each.sinceLast ? std::optional(now - *each.sinceLast) : std::nullopt;
    EXPECT_EQ(frequencyHolds(campaign, last, each.count, now), each.holds)
        << each.frequency << " " << each.sinceLast.value_or(9999) << " " << each.count;
  }
}

TEST(Triggers, PushPromptIsPointlessOnlyForTheAuthorised) {
  for (const std::optional<std::int64_t> status : std::initializer_list<std::optional<std::int64_t>>{
           std::nullopt, -1, 0, 1, 2, 3, std::numeric_limits<std::int64_t>::max()}) {
    for (const char* metadata : {"null", "{}", R"({"push_prompt":false})"}) {
      EXPECT_TRUE(pushPromptHolds(campaignOf("a", "\"trigger_metadata\":" + std::string(metadata)), status));
    }
    const auto prompt = campaignOf("a", R"("trigger_metadata":{"push_prompt":true})");
    EXPECT_EQ(pushPromptHolds(prompt, status), status != 2) << status.value_or(-2);
  }
}

}  // namespace
}  // namespace sorn::campaigns
