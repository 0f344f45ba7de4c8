#include <algorithm>
#include <array>
#include <random>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "campaigns/CampaignIndex.h"
#include "campaigns/Samples.h"

namespace sorn::campaigns {
namespace {

using documents::Campaigns;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Trigger = SornInAppCampaign::Trigger;
using TriggerType = Trigger::TriggerType;
using Audience = SornInAppCampaign::Audience;

using Names = std::vector<std::string>;

// The campaigns that an occasion would try, in their order.
Names triedBy(const CampaignIndex& index, const Occasion& occasion) {
  Names names;
  if (occasion.action && !index.mayAnswer(*occasion.action)) return names;
  const Wanted wanted = wantedBy(occasion);
  for (const SornInAppCampaign* campaign : index.candidates(wanted)) {
    if (!triggerMismatch(*campaign, wanted, occasion)) names.push_back(campaign->id);
  }
  return names;
}

// The rules told a second time, over all campaigns and without an index.
bool answers(const SornInAppCampaign& campaign, const Occasion& occasion) {
  if (campaign.paused == true || campaign.audience == Audience::android || campaign.version.ios > 1) {
    return false;
  }
  if (!campaign.trigger) return false;
  const Trigger& trigger = *campaign.trigger;
  if (!occasion.action) {
    if (trigger.type != TriggerType::inApp) return false;
    if (!trigger.attributes || trigger.attributes->empty()) return true;
    // Of the conditions, the generator makes only this one.
    const auto found = occasion.texts.find("k");
    return found != occasion.texts.end() && found->second == trigger.attributes->front().value;
  }
  if (*occasion.action == "+APP_OPENED") return trigger.type == TriggerType::appOpen;
  const auto screen = occasion.texts.find("screen_name");
  if (*occasion.action == "+SCREEN_OPENED" && screen != occasion.texts.end()) {
    return trigger.type == TriggerType::screen && trigger.target == screen->second;
  }
  return trigger.type == TriggerType::event && trigger.target == *occasion.action;
}

Names scannedBy(const Campaigns& campaigns, const Occasion& occasion) {
  std::vector<std::pair<std::int64_t, std::string>> found;
  for (const SornInAppCampaign& campaign : campaigns) {
    if (!answers(campaign, occasion)) continue;
    const std::int64_t priority = campaign.priority ? *campaign.priority : 0;
    // Behind all that are not smaller.
    const auto place = std::ranges::find_if(found, [&](const auto& other) { return other.first < priority; });
    found.emplace(place, priority, campaign.id);
  }
  Names names;
  for (const auto& [priority, id] : found) names.push_back(id);
  return names;
}

class Generator {
 public:
  explicit Generator(unsigned seed) : engine_(seed) {}

  Campaigns campaigns(std::size_t count) {
    Campaigns list(count);
    for (std::size_t at = 0; at < count; ++at) {
      SornInAppCampaign& campaign = list[at];
      campaign.id = std::to_string(at);
      if (below(4) == 0) campaign.paused = below(2) == 0;
      campaign.version.ios = below(8) == 0 ? 2 : 1;
      campaign.audience = below(8) == 0 ? Audience::android : below(2) == 0 ? Audience::all : Audience::ios;
      if (below(3) != 0) campaign.priority = static_cast<std::int64_t>(below(5)) - 2;
      if (below(10) != 0) campaign.trigger = trigger();
    }
    return list;
  }
  Occasion occasion() {
    Occasion occasion;
    if (below(5) != 0) occasion.action = name();
    if (below(2) == 0) occasion.texts.emplace("screen_name", name());
    if (below(2) == 0) occasion.texts.emplace("k", below(2) == 0 ? "v" : "w");
    return occasion;
  }

 private:
  unsigned below(unsigned bound) { return std::uniform_int_distribution(0U, bound - 1)(engine_); }
  std::string name() {
    static constexpr std::array names{"+APP_OPENED", "+SCREEN_OPENED", "home", "bought", "", "screen_name"};
    return names[below(names.size())];
  }
  Trigger trigger() {
    Trigger trigger{.type = static_cast<TriggerType>(below(4)), .target = {}, .attributes = {}};
    if (below(5) != 0) trigger.target = name();
    if (below(2) == 0) trigger.attributes.emplace();
    if (trigger.attributes && below(3) != 0) {
      trigger.attributes->push_back({.type = Trigger::Attribute::AttributeType::string,
                                     .key = "k",
                                     .operation = Trigger::Attribute::Operator::equal,
                                     .value = below(2) == 0 ? "v" : "w"});
    }
    return trigger;
  }

  std::mt19937 engine_;
};

TEST(CampaignIndex, TriesWhatAScanOfAllWouldTryInTheSameOrder) {
  Generator generator(20260611);
  std::size_t tried = 0;
  for (int round = 0; round < 300; ++round) {
    const CampaignIndex index(generator.campaigns(static_cast<std::size_t>(round)));
    for (int count = 0; count < 20; ++count) {
      const Occasion occasion = generator.occasion();
      const Names expected = scannedBy(index.campaigns(), occasion);
      tried += expected.size();
      ASSERT_EQ(triedBy(index, occasion), expected)
          << "round " << round << ", " << occasion.action.value_or("no action");
    }
  }
  EXPECT_GT(tried, 20'000u) << "the generator makes hardly any match";
}

CampaignIndex indexOf(std::initializer_list<std::pair<const char*, std::string>> campaigns) {
  Campaigns list;
  for (const auto& [id, members] : campaigns) list.push_back(campaignOf(id, members));
  return CampaignIndex(std::move(list));
}

TEST(CampaignIndex, LargerPriorityComesFirstAndTheFileDecidesBetweenEqualOnes) {
  const std::string bought = onEvent("bought");
  const CampaignIndex index = indexOf({{"minus", bought + R"(,"priority":-1)"},
                                       {"none", bought},
                                       {"five", bought + R"(,"priority":5)"},
                                       {"zero", bought + R"(,"priority":0)"},
                                       {"least", bought + R"(,"priority":-9223372036854775808)"},
                                       {"ten", bought + R"(,"priority":10)"},
                                       {"null", bought + R"(,"priority":null)"},
                                       {"greatest", bought + R"(,"priority":9223372036854775807)"},
                                       {"other ten", bought + R"(,"priority":10)"}});
  EXPECT_THAT(triedBy(index, {"bought", {}}),
              ElementsAre("greatest", "ten", "other ten", "five", "none", "zero", "null", "minus", "least"));
}

TEST(CampaignIndex, AnswersNoActionThatNothingCanFollowFrom) {
  EXPECT_FALSE(CampaignIndex().mayAnswer("+APP_OPENED"));
  const CampaignIndex index =
      indexOf({{"paused", onEvent("paused") + R"(,"paused":true)"},
               {"event", onEvent("bought")},
               {"screen", R"("trigger":{"type":"on_visited_screen","target":"home"})"},
               {"in-app", R"("trigger":{"type":"on_in_app_trigger","target":"called"})"},
               {"nameless", R"("trigger":{"type":"on_performed_event"})"}});
  for (const char* action : {"+APP_OPENED", "paused", "home", "called", "", "bough", "boughtx"}) {
    EXPECT_FALSE(index.mayAnswer(action)) << action;
  }
  EXPECT_TRUE(index.mayAnswer("bought"));
  EXPECT_TRUE(index.mayAnswer("+SCREEN_OPENED"));
  EXPECT_THAT(triedBy(index, {"+SCREEN_OPENED", {{"screen_name", "elsewhere"}}}), IsEmpty());
  EXPECT_EQ(index.campaigns().size(), 5u) << "none is lost for the next store";
}

}  // namespace
}  // namespace sorn::campaigns
