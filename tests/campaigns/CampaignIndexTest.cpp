#include <gtest/gtest.h>

#include "campaigns/CampaignIndex.h"
#include "campaigns/Samples.h"

namespace sorn::campaigns {
namespace {

// The campaigns that an occasion would try, in their order, each with a blank behind it.
std::string triedBy(const CampaignIndex& index, const Occasion& occasion) {
  std::string names;
  if (occasion.action && !index.mayAnswer(*occasion.action)) return names;
  const Wanted wanted = wantedBy(occasion);
  for (const SornInAppCampaign* campaign : index.candidates(wanted)) {
    if (!triggerMismatch(*campaign, wanted, occasion)) names += campaign->id + " ";
  }
  return names;
}

CampaignIndex indexOf(std::initializer_list<std::pair<const char*, std::string>> campaigns) {
  documents::Campaigns list;
  for (const auto& [id, members] : campaigns) list.push_back(campaignOf(id, members));
  return CampaignIndex(std::move(list));
}

std::string trigger(const std::string& type, const std::string& more = "") {
  return R"("trigger":{"type":")" + type + '"' + more + '}';
}

TEST(CampaignIndex, TriesEachEligibleCampaignForWhatItsTriggerSays) {
  const std::string gold = R"(,"attributes":[{"type":"string","key":"tier","operator":"=","value":"gold"}])";
  const std::string home = R"(,"target":"home")";
  const CampaignIndex index = indexOf({{"none", R"("priority":9)"},
                                       {"open", trigger("on_app_open", home)},
                                       {"screen", trigger("on_visited_screen", home + gold)},
                                       {"empty", trigger("on_visited_screen", R"(,"target":"")")},
                                       {"nowhere", trigger("on_visited_screen")},
                                       {"event", onEvent("home")},
                                       {"opened", onEvent("+SCREEN_OPENED")},
                                       {"nameless", trigger("on_performed_event")},
                                       {"gold", trigger("on_in_app_trigger", gold)},
                                       {"call", trigger("on_in_app_trigger", home)},
                                       {"paused", trigger("on_app_open") + R"(,"paused":true)"},
                                       {"foreign", onEvent("home") + R"(,"audience":"android")"},
                                       {"later", onEvent("home") + R"(,"version":{"android":1,"ios":2})"},
                                       {"first", onEvent("home") + R"(,"priority":1)"}});
  const std::pair<Occasion, const char*> cases[] = {
      {{"+APP_OPENED", {{"screen_name", "home"}}}, "open "},
      {{"+SCREEN_OPENED", {{"screen_name", "home"}}}, "screen "},
      {{"+SCREEN_OPENED", {{"screen_name", ""}}}, "empty "},
      {{"+SCREEN_OPENED", {{"screen_name", "elsewhere"}}}, ""},
      {{"+SCREEN_OPENED", {}}, "opened "},
      {{"home", {{"screen_name", "home"}}}, "first event "},
      {{"", {}}, ""},
      {{std::nullopt, {{"tier", "gold"}}}, "gold call "},
      {{std::nullopt, {{"screen_name", "home"}}}, "call "},
  };
  for (const auto& [occasion, expected] : cases) {
    EXPECT_EQ(triedBy(index, occasion), expected) << occasion.action.value_or("no action");
  }
  EXPECT_EQ(index.campaigns().size(), 14u) << "none is lost for the next store";
}

TEST(CampaignIndex, LargerPriorityComesFirstAndTheFileDecidesBetweenEqualOnes) {
  const std::string bought = onEvent("bought");
  const CampaignIndex index = indexOf({{"minus", bought + R"(,"priority":-1)"},
                                       {"none", bought},
                                       {"five", bought + R"(,"priority":5)"},
                                       {"zero", bought + R"(,"priority":0)"},
                                       {"least", bought + R"(,"priority":-9223372036854775808)"},
                                       {"ten", bought + R"(,"priority":10)"},
                                       {"greatest", bought + R"(,"priority":9223372036854775807)"},
                                       {"other ten", bought + R"(,"priority":10)"}});
  EXPECT_EQ(triedBy(index, {"bought", {}}), "greatest ten other ten five none zero minus least ");
}

TEST(CampaignIndex, AnswersNoActionThatNothingCanFollowFrom) {
  EXPECT_FALSE(CampaignIndex().mayAnswer("+APP_OPENED"));
  EXPECT_FALSE(CampaignIndex().mayAnswer("+SCREEN_OPENED"));
  const CampaignIndex index = indexOf({{"paused", onEvent("paused") + R"(,"paused":true)"},
                                       {"event", onEvent("bought")},
                                       {"screen", trigger("on_visited_screen", R"(,"target":"home")")},
                                       {"in-app", trigger("on_in_app_trigger", R"(,"target":"called")")},
                                       {"nameless", trigger("on_performed_event")}});
  for (const char* action : {"+APP_OPENED", "paused", "home", "called", "", "bough", "boughtx"}) {
    EXPECT_FALSE(index.mayAnswer(action)) << action;
  }
  EXPECT_TRUE(index.mayAnswer("bought"));
  EXPECT_TRUE(index.mayAnswer("+SCREEN_OPENED"));
}

}  // namespace
}  // namespace sorn::campaigns
