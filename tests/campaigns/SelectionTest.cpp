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

// Notes what it is to show, and says whether the user allows notifications.
struct Shown final : CampaignPresenter, sync::Authorization {
  void present(const SornInAppCampaign& campaign, double) override { names.push_back(campaign.id); }
  std::optional<std::int64_t> authorizationStatus() const override { return status; }

  std::optional<std::int64_t> status;
  Names names;
};

class CampaignSelection : public ManagerFixture {
 protected:
  // A manager beside the library's own, with an answer about the authorization.
  Names shownWithAuthorization(std::optional<std::int64_t> status, const std::string& action) {
    Shown shown;
    shown.status = status;
    SornInAppCampaignManager manager(library().services().database, library().services().published,
                                     *host_.directories, *host_.defaults, library().account(),
                                     library().logger(), shown, shown);
    run([&] {
      const auto event = library().context().insert<store::SNEvent>();
      event->set(store::SNEvent::action, action);
      manager.handleStoredEvent(*event);
    });
    run([] {});
    return shown.names;
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
  library().services().recorder.record({.action = "last"});
  EXPECT_EQ(toldCampaigns(), R"(["a","b"])");
  restart();
  EXPECT_THAT(shownAfter("bought"), ElementsAre("a"));
  EXPECT_EQ(counters(), "a 3 150.5,b 1 150.0");
}

TEST_F(CampaignSelection, LargerPriorityThatFallsOutDoesNotBlockASmallerOne) {
  const std::tuple<const char*, const char*, const char*> cases[] = {
      {R"("test":true)", "high", "high 1 60.0"},  // nobody after the chosen one is looked at
      {R"("trigger_metadata":{"last_in_app_delay":61})", "low", "low 1 60.0"},
      {R"("frequency":{"type":"multiple_times"})", "low", "high 0 never,low 1 60.0"},
      {R"("trigger_metadata":{"push_prompt":true})", "low", "high 0 never,low 1 60.0"},
  };
  for (const auto& [members, expected, record] : cases) {
    library_.reset();
    std::filesystem::remove_all(host_.folder / "documents");
    writeFile({campaignText("low", onEvent("bought")),
               campaignText("high", onEvent("bought") + R"(,"priority":1,)" + members)});
    host_.clock->jump(start + 60);
    host_.defaults->set("kSORN_LAST_INAPP_CAMPAIGN_PRESENTATION_DATE", dateSince1970(start));
    EXPECT_THAT(shownWithAuthorization(2, "bought"), ElementsAre(expected)) << members;
    EXPECT_EQ(counters(), record) << members;
  }
}

TEST_F(CampaignSelection, RecordOfACampaignThatWasNeverShownDoesNotBlockIt) {
  writeFile({campaignText("a", onEvent("bought") + once + R"(,"trigger_metadata":{"push_prompt":true})")});
  EXPECT_THAT(shownWithAuthorization(2, "bought"), IsEmpty());
  EXPECT_EQ(lastOfAny(), std::nullopt);
  EXPECT_THAT(shownWithAuthorization(0, "bought"), ElementsAre("a"));
  EXPECT_THAT(shownWithAuthorization(0, "bought"), IsEmpty());
}

TEST_F(CampaignSelection, DelayCountsFromAnyCampaignAndAGapFromTheSame) {
  writeFile({campaignText("a", onEvent("bought") + R"(,"frequency":{"type":"multiple_times",
                                                        "details":{"times":2,"gap":3600}})"),
             campaignText("b", onEvent("sold") + R"(,"trigger_metadata":{"last_in_app_delay":60})")});
  EXPECT_THAT(shownAfter("bought"), ElementsAre("a"));
  host_.clock->advance(59.5);
  EXPECT_THAT(shownAfter("sold"), IsEmpty());
  host_.clock->advance(0.5);
  EXPECT_THAT(shownAfter("sold"), ElementsAre("b"));
  host_.clock->jump(start + 3599.5);
  EXPECT_THAT(shownAfter("bought"), IsEmpty());
  host_.clock->advance(0.5);
  EXPECT_THAT(shownAfter("bought"), ElementsAre("a"));
  host_.clock->advance(1e6);
  EXPECT_THAT(shownAfter("bought"), IsEmpty()) << "twice is the bound";
  EXPECT_EQ(counters(), "a 2 3600.0,b 1 60.0");
}

TEST_F(CampaignSelection, AClockSetBackBlocksAll) {
  writeFile({campaignText("a", onEvent("bought"))});
  EXPECT_THAT(shownAfter("bought"), ElementsAre("a"));
  host_.clock->jump(start - 1);
  EXPECT_THAT(shownAfter("bought"), IsEmpty());
  host_.defaults->set("kSORN_LAST_INAPP_CAMPAIGN_PRESENTATION_DATE", std::string("tomorrow"));
  EXPECT_THAT(shownAfter("bought"), ElementsAre("a")) << "what is no date counts as none";
}

TEST_F(CampaignSelection, ScreensAreChosenByTheNameThatTheEventTells) {
  const std::string screen = R"("trigger":{"type":"on_visited_screen","target":)";
  writeFile({campaignText("detail", screen + "\"detail\"}"),
             campaignText("path", screen + "\"home.detail\"}"),
             campaignText("nameless", onEvent("+SCREEN_OPENED"))});
  library().sorn().logScreenWithName("home.detail");
  EXPECT_THAT(shown(), ElementsAre("detail"));
  EXPECT_THAT(shownAfter("+SCREEN_OPENED"), ElementsAre("nameless"));
}

TEST_F(CampaignSelection, EventWithoutAnActionAndACallOfTheHostAreMatchedByTheirTexts) {
  writeFile({campaignText("red", R"("trigger":{"type":"on_in_app_trigger","attributes":[
                 {"type":"string","key":"colour","operator":"=","value":"red"}]})"),
             campaignText("any", R"("trigger":{"type":"on_in_app_trigger"},"priority":-1)")});
  library().sorn().triggerInApp({{"colour", "red"}});
  EXPECT_THAT(shown(), ElementsAre("red"));
  const std::pair<std::optional<std::string>, const char*> cases[] = {{R"({"colour":"red"})", "red"},
                                                                      {R"({"colour":["red"]})", "any"},
                                                                      {R"(["red"])", "any"},
                                                                      {R"({"colour":"red")", "any"},
                                                                      {std::nullopt, "any"}};
  for (const auto& [extra, expected] : cases) {
    run([&, &text = extra] {
      const auto event = library().context().insert<store::SNEvent>();
      event->set(store::SNEvent::extra, text);
      library().services().campaigns.handleStoredEvent(*event);
    });
    EXPECT_THAT(shown(), ElementsAre(expected)) << extra.value_or("absent");
  }
}

TEST_F(CampaignSelection, SwitchOfTheHostChangesOnlyWhatIsReported) {
  writeFile({campaignText("a", onEvent("bought"))});
  library().sorn().disableInAppCampaigns();
  EXPECT_THAT(shownAfter("bought"), ElementsAre("a"));
}

TEST_F(CampaignSelection, ListIsReplacedWhileEventsAreEvaluated) {
  std::thread other([&campaigns = library().services().campaigns] {
    for (int round = 0; round < 200; ++round) {
      campaigns.storeCampaigns({campaignOf(round % 2 == 0 ? "even" : "odd", onEvent("bought"))});
    }
  });
  for (int round = 0; round < 200; ++round) library().services().recorder.record({.action = "bought"});
  other.join();
  for (const std::string& name : shown()) EXPECT_TRUE(name == "even" || name == "odd") << name;
  EXPECT_THAT(shownAfter("bought"), ElementsAre("odd"));
}

using CampaignSelectionDeathTest = CampaignSelection;

TEST_F(CampaignSelectionDeathTest, MorePresentationsThanCanBeCountedAreAFault) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  writeFile({campaignText("a", onEvent("bought"))});
  const auto shownAfterCount = [this](std::int16_t count) {
    run([&] {
      const auto record = library().context().insert<store::SNInAppCampaigns>();
      record->set(store::SNInAppCampaigns::id, "a");
      record->set(store::SNInAppCampaigns::presentationCount, count);
    });
    return shownAfter("bought");
  };
  EXPECT_DEATH(shownAfterCount(std::numeric_limits<std::int16_t>::max()), "Fatal error");
  EXPECT_THAT(shownAfterCount(std::numeric_limits<std::int16_t>::max() - 1), ElementsAre("a"));
  EXPECT_EQ(counters(), "a 32767 0.0");
}

}  // namespace
}  // namespace sorn::campaigns
