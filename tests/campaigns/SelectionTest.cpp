#include <limits>

#include "campaigns/ManagerFixture.h"
#include "campaigns/SornInAppCampaignManager.h"
#include "store/entities/SNInAppCampaigns.h"

namespace sorn::campaigns {
namespace {

using nlohmann::json;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr auto once = R"(,"frequency":{"type":"once"})";

class CampaignSelection : public ManagerFixture {
 protected:
  // A manager beside the library's own, with an answer about the authorization.
  Names shownWithAuthorization(std::optional<std::int64_t> status, const std::string& action) {
    Names names;
    SornInAppCampaignManager manager(
        library().database(), library().published(), *host_.directories, *host_.defaults, library().account(),
        library().logger(),
        {.present = [&](const SornInAppCampaign& campaign, double) { names.push_back(campaign.id); },
         .authorizationStatus = [=] { return status; }});
    run([&] {
      const auto event = library().context().insert<store::SNEvent>();
      event->set(store::SNEvent::action, action);
      manager.handleStoredEvent(*event);
    });
    run([] {});
    return names;
  }
  std::optional<double> lastOfAny() const {
    const auto date = host_.defaults->object("kSORN_LAST_INAPP_CAMPAIGN_PRESENTATION_DATE");
    return date ? std::optional(secondsSince1970(*date->as<Date>()) - start) : std::nullopt;
  }
  // The campaigns that the newest event names.
  std::string toldCampaigns() {
    return json::parse(stored("SELECT extra FROM SNEvent ORDER BY id DESC LIMIT 1"))["campaign_ids"].dump();
  }
};

TEST_F(CampaignSelection, SessionOpensWithItsCampaignOnce) {
  writeFile({campaignText("welcome", std::string(onAppOpen) + once)});
  EXPECT_THAT(shownAfter("bought"), ElementsAre("welcome")) << "the first event opens the session";
  EXPECT_THAT(shownAfter("+APP_OPENED"), IsEmpty());
  restart();
  EXPECT_THAT(shownAfter("+APP_OPENED"), IsEmpty());
}

TEST_F(CampaignSelection, CountersAreWrittenAndLaterEventsNameTheCampaign) {
  writeFile({campaignText("a", onEvent("bought")), campaignText("b", onEvent("sold"))});
  EXPECT_THAT(shownAfter("other"), IsEmpty());
  EXPECT_EQ(counters(), "");
  EXPECT_EQ(lastOfAny(), std::nullopt);
  host_.clock->advance(100);
  EXPECT_THAT(shownAfter("bought"), ElementsAre("a"));
  EXPECT_EQ(toldCampaigns(), "[]") << "it was stored before";
  host_.clock->advance(50);
  EXPECT_THAT(shownAfter("sold"), ElementsAre("b"));
  EXPECT_EQ(toldCampaigns(), R"(["a"])");
  host_.clock->advance(0.5);
  EXPECT_THAT(shownAfter("bought"), ElementsAre("a"));
  EXPECT_EQ(counters(), "a 2 150.5,b 1 150.0");
  EXPECT_EQ(lastOfAny(), 150.5);
  library().record({.action = "last"});
  EXPECT_EQ(toldCampaigns(), R"(["a","b"])");
  restart();
  EXPECT_THAT(shownAfter("bought"), ElementsAre("a"));
  EXPECT_EQ(counters(), "a 3 150.5,b 1 150.0");
}

TEST_F(CampaignSelection, EvaluationShowsOneCampaignTheOneWithTheLargestPriority) {
  writeFile({campaignText("five", onEvent("bought") + R"(,"priority":5)"),
             campaignText("ten", onEvent("bought") + R"(,"priority":10)"),
             campaignText("paused", onEvent("bought") + R"(,"priority":99,"paused":true)")});
  EXPECT_THAT(shownAfter("bought"), ElementsAre("ten"));
  EXPECT_EQ(counters(), "ten 1 0.0") << "nobody after the chosen one is looked at";
}

TEST_F(CampaignSelection, LargerPriorityThatFallsOutDoesNotBlockASmallerOne) {
  const std::pair<const char*, const char*> cases[] = {
      {R"("trigger_metadata":{"last_in_app_delay":61})", "low 1 60.0"},
      {R"("frequency":{"type":"multiple_times"})", "high 0 never,low 1 60.0"},
      {R"("frequency":{"type":"multiple_times","details":{"times":0,"gap":0}})", "high 0 never,low 1 60.0"},
      {R"("trigger_metadata":{"push_prompt":true})", "high 0 never,low 1 60.0"},
  };
  for (const auto& [members, expected] : cases) {
    library_.reset();
    std::filesystem::remove_all(host_.folder / "documents");
    writeFile({campaignText("low", onEvent("bought")),
               campaignText("high", onEvent("bought") + R"(,"priority":1,)" + members)});
    host_.clock->jump(start + 60);
    host_.defaults->set("kSORN_LAST_INAPP_CAMPAIGN_PRESENTATION_DATE", dateSince1970(start));
    EXPECT_THAT(shownWithAuthorization(2, "bought"), ElementsAre("low")) << members;
    EXPECT_EQ(counters(), expected) << members;
  }
}

TEST_F(CampaignSelection, PushPromptIsShownUnlessAuthorised) {
  writeFile({campaignText("prompt", onEvent("bought") + R"(,"trigger_metadata":{"push_prompt":true})")});
  EXPECT_THAT(shownWithAuthorization(2, "bought"), IsEmpty());
  EXPECT_EQ(lastOfAny(), std::nullopt);
  EXPECT_THAT(shownWithAuthorization(1, "bought"), ElementsAre("prompt"));
  EXPECT_THAT(shownWithAuthorization(std::nullopt, "bought"), ElementsAre("prompt"));
  EXPECT_EQ(counters(), "prompt 2 0.0");
}

TEST_F(CampaignSelection, RecordOfACampaignThatWasNeverShownDoesNotBlockIt) {
  writeFile({campaignText("a", onEvent("bought") + once + R"(,"trigger_metadata":{"push_prompt":true})")});
  EXPECT_THAT(shownWithAuthorization(2, "bought"), IsEmpty());
  EXPECT_THAT(shownWithAuthorization(0, "bought"), ElementsAre("a"));
  EXPECT_THAT(shownWithAuthorization(0, "bought"), IsEmpty());
}

TEST_F(CampaignSelection, DelayCountsFromAnyCampaignAndAClockSetBackBlocksAll) {
  writeFile({campaignText("a", onEvent("bought")),
             campaignText("b", onEvent("sold") + R"(,"trigger_metadata":{"last_in_app_delay":60})")});
  EXPECT_THAT(shownAfter("bought"), ElementsAre("a"));
  host_.clock->advance(59.5);
  EXPECT_THAT(shownAfter("sold"), IsEmpty());
  host_.clock->advance(0.5);
  EXPECT_THAT(shownAfter("sold"), ElementsAre("b"));
  host_.clock->jump(start + 59);
  EXPECT_THAT(shownAfter("bought"), IsEmpty());
  host_.clock->jump(start + 60);
  EXPECT_THAT(shownAfter("bought"), ElementsAre("a"));
  host_.defaults->set("kSORN_LAST_INAPP_CAMPAIGN_PRESENTATION_DATE", std::string("tomorrow"));
  EXPECT_THAT(shownAfter("sold"), ElementsAre("b")) << "what is no date counts as none";
}

TEST_F(CampaignSelection, MultipleTimesKeepsItsGapAndItsBound) {
  writeFile({campaignText("a", onEvent("bought") + R"(,"frequency":{"type":"multiple_times",
                                                        "details":{"times":2,"gap":3600}})")});
  EXPECT_THAT(shownAfter("bought"), ElementsAre("a"));
  host_.clock->advance(3599.5);
  EXPECT_THAT(shownAfter("bought"), IsEmpty());
  host_.clock->advance(0.5);
  EXPECT_THAT(shownAfter("bought"), ElementsAre("a"));
  host_.clock->advance(1e6);
  EXPECT_THAT(shownAfter("bought"), IsEmpty());
  EXPECT_EQ(counters(), "a 2 3600.0");
}

TEST_F(CampaignSelection, ScreensAreChosenByTheNameThatTheEventTells) {
  const std::string screen = R"("trigger":{"type":"on_visited_screen","target":)";
  writeFile({campaignText("detail", screen + "\"detail\"}"),
             campaignText("path", screen + "\"home.detail\"}"),
             campaignText("nameless", onEvent("+SCREEN_OPENED"))});
  library().sorn().logScreenWithName("home.detail");
  EXPECT_THAT(shown(), ElementsAre("detail"));
  library().sorn().logScreenWithName("elsewhere");
  EXPECT_THAT(shown(), IsEmpty());
  EXPECT_THAT(shownAfter("+SCREEN_OPENED"), ElementsAre("nameless"));
}

TEST_F(CampaignSelection, CallOfTheHostIsMatchedByItsAttributes) {
  const std::string trigger = R"("trigger":{"type":"on_in_app_trigger","attributes":[)";
  writeFile(
      {campaignText("large", trigger + R"({"type":"number","key":"size","operator":">","value":"9"}]})"),
       campaignText("red", trigger + R"({"type":"string","key":"colour","operator":"=","value":"red"},
                                              {"type":"string","key":"size","operator":"!=","value":"9"}]})"),
       campaignText("event", onEvent("size"))});
  EXPECT_THAT(shownAfterTrigger({}), IsEmpty());
  EXPECT_THAT(shownAfterTrigger({{"colour", "red"}}), ElementsAre("red"));
  EXPECT_THAT(shownAfterTrigger({{"colour", "red"}, {"size", "9"}}), IsEmpty());
  EXPECT_THAT(shownAfterTrigger({{"size", "10"}}), IsEmpty()) << "texts are compared, not numbers";
  EXPECT_THAT(shownAfterTrigger({{"size", "91"}, {"colour", "red"}}), ElementsAre("large"));
  EXPECT_THAT(shownAfter("size"), ElementsAre("event"));
}

TEST_F(CampaignSelection, EventWithoutAnActionIsMatchedByItsTexts) {
  writeFile({campaignText("red", R"("trigger":{"type":"on_in_app_trigger","attributes":[
                 {"type":"string","key":"colour","operator":"=","value":"red"}]})"),
             campaignText("any", R"("trigger":{"type":"on_in_app_trigger"},"priority":-1)")});
  const std::pair<std::optional<std::string>, const char*> cases[] = {{R"({"colour":"red"})", "red"},
                                                                      {R"({"colour":["red"]})", "any"},
                                                                      {R"(["red"])", "any"},
                                                                      {R"({"colour":"red")", "any"},
                                                                      {"", "any"},
                                                                      {std::nullopt, "any"},
                                                                      {R"({"x":{"colour":"red"}})", "any"}};
  for (const auto& [extra, expected] : cases) {
    run([&, &text = extra] {
      const auto event = library().context().insert<store::SNEvent>();
      event->set(store::SNEvent::extra, text);
      library().campaigns().handleStoredEvent(*event);
    });
    EXPECT_THAT(shown(), ElementsAre(expected)) << extra.value_or("absent");
  }
}

TEST_F(CampaignSelection, SwitchOfTheHostChangesOnlyWhatIsReported) {
  writeFile({campaignText("a", onEvent("bought"))});
  library().sorn().disableInAppCampaigns();
  EXPECT_THAT(shownAfter("bought"), ElementsAre("a"));
}

TEST_F(CampaignSelection, NewListHoldsForTheEventsAfterIt) {
  writeFile({campaignText("old", onEvent("bought"))});
  EXPECT_THAT(shownAfter("bought"), ElementsAre("old"));
  library().campaigns().storeCampaigns({campaignOf("new", onEvent("bought"))});
  EXPECT_THAT(shownAfter("bought"), ElementsAre("new"));
  library().campaigns().storeCampaigns({});
  EXPECT_THAT(shownAfter("bought"), IsEmpty());
}

TEST_F(CampaignSelection, ListIsReplacedWhileEventsAreEvaluated) {
  std::thread other([&campaigns = library().campaigns()] {
    for (int round = 0; round < 200; ++round) {
      campaigns.storeCampaigns({campaignOf(round % 2 == 0 ? "even" : "odd", onEvent("bought"))});
    }
  });
  for (int round = 0; round < 200; ++round) library().record({.action = "bought"});
  other.join();
  for (const std::string& name : shown()) EXPECT_TRUE(name == "even" || name == "odd") << name;
  EXPECT_THAT(shownAfter("bought"), ElementsAre("odd"));
}

class CampaignSelectionDeathTest : public CampaignSelection {
 protected:
  void countTo(std::int16_t count) {
    run([&] {
      const auto record = library().context().insert<store::SNInAppCampaigns>();
      record->set(store::SNInAppCampaigns::id, "a");
      record->set(store::SNInAppCampaigns::presentationCount, count);
    });
  }
};

TEST_F(CampaignSelectionDeathTest, MorePresentationsThanCanBeCountedAreAFault) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  writeFile({campaignText("a", onEvent("bought"))});
  EXPECT_DEATH(
      {
        countTo(std::numeric_limits<std::int16_t>::max());
        shownAfter("bought");
      },
      "Fatal error");
  countTo(std::numeric_limits<std::int16_t>::max() - 1);
  EXPECT_THAT(shownAfter("bought"), ElementsAre("a"));
  EXPECT_EQ(counters(), "a 32767 0.0");
}

}  // namespace
}  // namespace sorn::campaigns
