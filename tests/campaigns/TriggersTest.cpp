#include <gtest/gtest.h>

#include "campaigns/Samples.h"
#include "campaigns/Triggers.h"

namespace sorn::campaigns {
namespace {

std::string nameOrPass(std::optional<Outcome> outcome) {
  return outcome ? std::string(nameOf(*outcome)) : "passes";
}

TEST(Triggers, PausedForeignAndLaterCampaignsTakeNoPart) {
  const std::pair<const char*, const char*> cases[] = {
      {R"("paused":false,"test":true)", "passes"},
      {R"("paused":true)", "paused"},
      {R"("audience":"ios")", "passes"},
      {R"("audience":"android")", "audience"},
      {R"("version":{"android":9,"ios":1})", "passes"},
      {R"("version":{"android":1,"ios":-9223372036854775808})", "passes"},
      {R"("version":{"android":1,"ios":2})", "version"},
      {R"("paused":true,"audience":"android","version":{"android":1,"ios":2})", "paused"},
      {R"("audience":"android","version":{"android":1,"ios":2})", "audience"},
  };
  for (const auto& [members, expected] : cases) {
    EXPECT_EQ(nameOrPass(ineligibility(campaignOf("a", members))), expected) << members;
  }
}

TEST(Triggers, ActionAndScreenNameDecideWhatIsWanted) {
  using Text = std::optional<std::string>;
  constexpr std::nullopt_t none = std::nullopt;
  struct Case {
    Text action;
    Text screen;
    std::string type;
    Text target;
    const char* expected;
  };
  const Text opened = "+SCREEN_OPENED";
  const Case cases[] = {
      {"+APP_OPENED", none, "on_app_open", none, "passes"},
      {"+APP_OPENED", none, "on_app_open", "x", "passes"},
      {"+APP_OPENED", none, "on_performed_event", "+APP_OPENED", "trigger"},
      {"+APP_CLOSED", none, "on_app_open", none, "trigger"},
      {opened, "home", "on_visited_screen", "home", "passes"},
      {opened, "home", "on_visited_screen", "Home", "trigger"},
      {opened, "home", "on_visited_screen", none, "trigger"},
      {opened, "", "on_visited_screen", "", "passes"},
      {opened, "home", "on_performed_event", opened, "trigger"},
      {opened, none, "on_performed_event", opened, "passes"},
      {opened, none, "on_visited_screen", opened, "trigger"},
      {"bought", "home", "on_visited_screen", "home", "trigger"},
      {"bought", none, "on_performed_event", "bought", "passes"},
      {"bought", none, "on_performed_event", "bought ", "trigger"},
      {"bought", none, "on_in_app_trigger", none, "trigger"},
      {"", none, "on_performed_event", "", "passes"},
      {"", none, "on_performed_event", none, "trigger"},
      {none, none, "on_in_app_trigger", "x", "passes"},
      {none, none, "on_performed_event", none, "trigger"},
  };
  for (const auto& [action, screen, type, target, expected] : cases) {
    auto campaign = campaignOf("a", R"("trigger":{"type":")" + type + "\"}");
    campaign.trigger->target = target;
    Occasion occasion{action, {}};
    if (screen) occasion.texts.emplace("screen_name", *screen);
    EXPECT_EQ(nameOrPass(triggerMismatch(campaign, wantedBy(occasion), occasion)), expected)
        << action.value_or("no action") << " " << screen.value_or("no screen") << " " << type;
  }
  EXPECT_EQ(triggerMismatch(campaignOf("a", ""), wantedBy({}), {}), Outcome::trigger);
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
      {{{"k", "Z"}}, "k", "a", "-+++--"},
      {{{"k", ""}}, "k", "", "+--+-+"},
      {{{"k", "\xC3\xA9"}}, "k", "z", "-+--++"},
      {{}, "k", "v", "-+----"},
      {{}, "k", "", "-+----"},
      {{{"K", "v"}}, "k", "v", "-+----"},
      {{{"a.b", "v"}}, "a.b", "v", "-+----"},
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
                                                       {"[" + red + "," + large + "]", "passes"},
                                                       {"[" + red + "," + small + "]", "attributes"},
                                                       {"[" + small + "," + red + "]", "attributes"}};
  for (const auto& [attributes, expected] : cases) {
    const auto campaign =
        campaignOf("a", R"("trigger":{"type":"on_in_app_trigger","attributes":)" + attributes + "}");
    EXPECT_EQ(nameOrPass(triggerMismatch(campaign, wantedBy(occasion), occasion)), expected) << attributes;
  }
}

constexpr double now = 1'700'000'000;

std::optional<double> momentBefore(std::optional<double> seconds) {
  return seconds ? std::optional(now - *seconds) : std::nullopt;
}

TEST(Triggers, DelayIsOverWhenExactlySoMuchTimeHasPassed) {
  const std::tuple<const char*, std::optional<double>, bool> cases[] = {
      {"null", std::nullopt, true},
      {"null", 0, true},
      {"null", -0.5, false},
      {R"({"last_in_app_delay":null})", 0, true},
      {R"({"last_in_app_delay":60})", std::nullopt, true},
      {R"({"last_in_app_delay":60})", 59.5, false},
      {R"({"last_in_app_delay":60})", 60, true},
      {R"({"last_in_app_delay":-60})", -60, true},
      {R"({"last_in_app_delay":-60})", -60.5, false},
  };
  for (const auto& [metadata, sinceLast, holds] : cases) {
    const auto campaign = campaignOf("a", "\"trigger_metadata\":" + std::string(metadata));
    EXPECT_EQ(delayHolds(campaign, momentBefore(sinceLast), now), holds)
        << metadata << sinceLast.value_or(9999);
  }
}

TEST(Triggers, FrequencyBoundsHowOftenACampaignIsShown) {
  constexpr auto twice = R"({"type":"multiple_times","details":{"times":2,"gap":3600}})";
  constexpr auto withoutGap = R"({"type":"multiple_times","details":{"times":3,"gap":0}})";
  const std::tuple<const char*, std::optional<double>, std::int64_t, bool> cases[] = {
      {"null", 0, 9, true},
      {R"({"type":"every_time","details":{"times":0,"gap":1e9}})", -1, 32767, true},
      {R"({"type":"once"})", std::nullopt, 5, true},
      {R"({"type":"once"})", 1e9, 1, false},
      {R"({"type":"once"})", -1e9, 0, false},
      {R"({"type":"multiple_times"})", std::nullopt, 0, false},
      {twice, std::nullopt, 0, true},
      {twice, 3599.5, 1, false},
      {twice, 3600, 1, true},
      {twice, 1e9, 2, false},
      {withoutGap, 0, 2, true},
      {withoutGap, -0.5, 2, false},
      {R"({"type":"multiple_times","details":{"times":-1,"gap":0}})", std::nullopt, 0, false},
      // Until the first presentation the last one counts as at the beginning of 1970.
      {R"({"type":"multiple_times","details":{"times":1,"gap":1700000000}})", std::nullopt, 0, true},
      {R"({"type":"multiple_times","details":{"times":1,"gap":1700000001}})", std::nullopt, 0, false},
      {R"({"type":"multiple_times","details":{"times":9223372036854775807,"gap":-5}})", 0, 32767, true},
  };
  for (const auto& [frequency, sinceLast, count, holds] : cases) {
    const auto campaign = campaignOf("a", "\"frequency\":" + std::string(frequency));
    EXPECT_EQ(frequencyHolds(campaign, momentBefore(sinceLast), count, now), holds)
        << frequency << " " << sinceLast.value_or(9999) << " " << count;
  }
}

TEST(Triggers, PushPromptIsPointlessOnlyForTheAuthorised) {
  EXPECT_TRUE(pushPromptHolds(campaignOf("a", ""), 2));
  EXPECT_TRUE(pushPromptHolds(campaignOf("a", R"("trigger_metadata":{"push_prompt":false})"), 2));
  const auto prompt = campaignOf("a", R"("trigger_metadata":{"push_prompt":true})");
  EXPECT_FALSE(pushPromptHolds(prompt, 2));
  for (const std::optional<std::int64_t> status : {std::optional<std::int64_t>(), {1}, {3}}) {
    EXPECT_TRUE(pushPromptHolds(prompt, status)) << status.value_or(-2);
  }
}

}  // namespace
}  // namespace sorn::campaigns
