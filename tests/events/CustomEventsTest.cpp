#include <fstream>

#include <gtest/gtest.h>

#include "fakes/RawDatabase.h"
#include "sorn/SornCustomEvents.h"
#include "sorn/platform/Headless.h"
#include "survival/ConsoleHost.h"

namespace sorn::tests {
namespace {

using nlohmann::json;

// The attributes that the library gives every event.
constexpr const char* ownKeys[] = {
    "campaign_ids",    "sv",          "app_version", "os_version", "authorization_status",
    "location_status", "inapp_status"};

TEST(CustomEvents, EachOperationReportsItsFixedAndFurtherDataOrIsRefused) {
  Site site;
  ConsoleHost host(site);
  std::ifstream file(SORN_CUSTOM_EVENTS);
  json expected = json::array();
  for (const json& each : json::parse(file)) {
    const json answer = host.run(each["line"].get<std::string>());
    EXPECT_EQ(answer["ok"], !each.contains("error")) << answer;
    if (each.contains("error")) {
      EXPECT_EQ(answer["error"], each["error"]);
    } else {
      expected.push_back(
          {{"category", each["category"]}, {"action", each["action"]}, {"extra", each["extra"]}});
    }
  }
  host.expect("advance 70");
  json reported = json::array();
  for (json event : site.service.events()) {
    if (event["category"] == "NO_CATEGORY") continue;  // the session's
    for (const char* key : ownKeys) event["extra"].erase(key);
    reported.push_back(
        {{"category", event["category"]}, {"action", event["action"]}, {"extra", event["extra"]}});
  }
  EXPECT_EQ(reported, expected);
}

TEST(SornScreen, LogsEachAppearanceOrTheFirstAndThrowsNothing) {
  const Site site;
  platform::HeadlessOptions options;
  options.identifier = "screens";
  options.dataDirectory = site.data;
  options.resourceDirectories = {site.folder.path()};
  platform::install(platform::headless(options));
  Sorn::manager().start("Survivor");
  for (const auto mode : {Sorn::LogScreenMode::onLoad, Sorn::LogScreenMode::onAppear}) {
    SornScreen screen(mode == Sorn::LogScreenMode::onLoad ? "shop.once" : "shop.often", mode);
    for (int appearance = 0; appearance < 2; ++appearance) screen.appeared();
  }
  SornScreen("no..name").appeared();
  Sorn::manager().applicationWillTerminate();
  RawDatabase store(site.data / "data/screens/documents/SNSornDB.sqlite");
  EXPECT_EQ(store.column(
                "SELECT json_extract(extra, '$.screen_name') FROM SNEvent WHERE action = '+SCREEN_OPENED'"),
            "once,often,often");
}

TEST(CustomEventsDeathTest, ItemsWithoutWhatTheyNeedAreProgrammingErrors) {
  EXPECT_DEATH(SornCustomEventItem(), "an item with an identifier and a type");
  EXPECT_DEATH(SornRetailItem("7", "tea", std::nullopt, std::nullopt), "a retail item with a price");
}

TEST(Decimal, HoldsTheShortestDigitsOfANumber) {
  EXPECT_EQ(Decimal(9.9).digits, "9.9");
  EXPECT_EQ(Decimal(-3).digits, "-3");
  EXPECT_EQ(Decimal("9.90").digits, "9.90");
  EXPECT_EQ(Decimal(std::numeric_limits<double>::infinity()).digits, "");
}

}  // namespace
}  // namespace sorn::tests
