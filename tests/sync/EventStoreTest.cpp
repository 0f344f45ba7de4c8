#include <limits>

#include "sync/SyncFixture.h"

namespace sorn::sync {

using nlohmann::json;
using store::SNEvent;

class EventStoreTest : public SyncFixture {
 protected:
  json extraOf(const std::string& action) {
    return json::parse(stored("SELECT extra FROM SNEvent WHERE action = '" + action + "'"));
  }
};

TEST_F(EventStoreTest, RecordHoldsWhatHappenedWhenAndForWhom) {
  library_->services().userRecords.userActivation("u");
  host_.clock->advance(2.5);
  library_->services().events.createEvent({.type = EventType::inapp_campaign,
                                           .category = "+RETAIL",
                                           .action = "bought",
                                           .campaignID = "c",
                                           .campaign = 3});
  library_->services().events.createEvent({.action = "plain"});
  EXPECT_EQ(stored("SELECT type || ' ' || category || ' ' || campaignID || ' ' || campaignType || ' ' || "
                   "timestamp || ' ' || status || ' ' || statusUpdated FROM SNEvent WHERE action = 'bought'"),
            "inapp_campaign +RETAIL c 4 1700000002.5 0 1700000002.5");
  EXPECT_EQ(stored("SELECT type || category || campaignID || ifnull(campaignType, '-') FROM SNEvent "
                   "WHERE action = 'plain'"),
            "app_usageNO_CATEGORYNO_CAMPAIGN-");
  EXPECT_EQ(stored("SELECT DISTINCT userID FROM SNEvent JOIN SNUser ON SNEvent.user = SNUser.id"), "u");
  EXPECT_EQ(stored("SELECT count(DISTINCT eventID) FROM SNEvent"), "3");
  EXPECT_EQ(stored("SELECT DISTINCT length(eventID) FROM SNEvent"), "36");
}

TEST_F(EventStoreTest, EventsFollowTheActiveUser) {
  const auto users =
      "SELECT ifnull(userID, '-') FROM SNEvent LEFT JOIN SNUser ON SNEvent.user = SNUser.id "
      "WHERE action <> '+APP_OPENED' ORDER BY SNEvent.id";
  record("1");
  library_->services().userRecords.userActivation("a");
  record("2");
  library_->services().userRecords.userActivation("b");
  record("3");
  library_->services().userRecords.userActivation("a");
  record("4");
  EXPECT_EQ(stored(users), "-,a,b,a");
}

TEST_F(EventStoreTest, ReceivedPushOpensNoSessionButCountsInAnOpenOne) {
  record("+PUSH_CAMPAIGN_RECEIVED", EventType::push_campaign);
  EXPECT_EQ(stored("SELECT action || ifnull(sessionID, '-') || ifnull(serialNumber, '-') FROM SNEvent"),
            "+PUSH_CAMPAIGN_RECEIVED--");
  EXPECT_EQ(stored("SELECT count(*) FROM SNSession"), "0");
  record("+PUSH_CAMPAIGN_OPENED", EventType::push_campaign);
  record("+PUSH_CAMPAIGN_RECEIVED", EventType::push_campaign);
  EXPECT_EQ(stored("SELECT action || serialNumber FROM SNEvent WHERE serialNumber > 0 ORDER BY serialNumber"),
            "+APP_OPENED1,+PUSH_CAMPAIGN_OPENED2,+PUSH_CAMPAIGN_RECEIVED3");
  EXPECT_EQ(stored("SELECT count(DISTINCT sessionID) FROM SNEvent"), "1");
}

TEST_F(EventStoreTest, ActionsOfBlanksAreRefusedAndOthersKeptAsGiven) {
  library_->services().database.currentApplication();
  for (const char* action : {"", " ", "\n", "\t \r\n", "\xC2\xA0", "\xE2\x80\xA8"}) {
    EXPECT_EQ(library_->services().events.createEvent({.action = action}), nullptr) << action;
  }
  EXPECT_EQ(stored("SELECT count(*) FROM SNEvent"), "0");
  EXPECT_NE(library_->services().events.createEvent({.action = " a "}), nullptr);
  EXPECT_EQ(stored("SELECT count(*) FROM SNEvent WHERE action = ' a '"), "1");
}

TEST_F(EventStoreTest, UsageOffRefusesUsageButNotCampaigns) {
  configure("", 10, 10, false);
  launch();
  library_->services().database.currentApplication();
  EXPECT_EQ(library_->services().events.createEvent({.action = "usage"}), nullptr);
  EXPECT_NE(library_->services().events.createEvent({.type = EventType::push_campaign, .action = "push"}),
            nullptr);
  EXPECT_EQ(stored("SELECT action || ifnull(sessionID, '-') || ifnull(serialNumber, '-') FROM SNEvent"),
            "push--");
  EXPECT_EQ(stored("SELECT count(*) FROM SNSession"), "0");
}

TEST_F(EventStoreTest, OwnAttributesStandBesideTheHostsAndOverThem) {
  host_.facts->locationFact = 3;
  library_->services().pushRecords.pushGatewayUpdate(7, 2, store::ServerStatusState::pending);
  EventData data;
  data.add("S_", "name", "a\"\n");
  data.add("", "sv", 1);
  data.add("", "location_status", "lies");
  data.add("N_", "sv", 2);
  library_->services().events.createEvent({.action = "e", .data = &data});
  EXPECT_EQ(extraOf("e"), json::parse(R"({"S_name":"a\"\n","N_sv":2,"campaign_ids":[],"sv":102031000,
      "app_version":"2.5","os_version":"12","authorization_status":2,"location_status":1})"));
  EXPECT_EQ(extraOf("+APP_OPENED"), json::parse(R"({"campaign_ids":[],"sv":102031000,"app_version":"2.5",
      "os_version":"12","authorization_status":2,"location_status":1})"));
}

TEST_F(EventStoreTest, PermissionIsToldAsItStandsAtEachEvent) {
  record("1");
  library_->services().pushRecords.pushGatewayUpdate(7, 2, store::ServerStatusState::pending);
  record("2");
  library_->services().pushRecords.pushGatewayUpdate(7, 1, store::ServerStatusState::pending);
  record("3");
  EXPECT_EQ(extraOf("1")["authorization_status"], 0);
  EXPECT_EQ(extraOf("2")["authorization_status"], 2);
  EXPECT_EQ(extraOf("3")["authorization_status"], 1);
}

TEST_F(EventStoreTest, TouchedCampaignsAreToldUntilTheSessionEnds) {
  library_->services().database.currentSession();
  library_->services().database.addCampaignID("b\"");
  library_->services().database.addCampaignID("a");
  record("1");
  EXPECT_EQ(extraOf("1")["campaign_ids"], json::parse(R"(["a","b\""])"));
  run([&] { library_->services().database.endSession(); });
  EXPECT_EQ(extraOf("+APP_CLOSED")["campaign_ids"].size(), 2u);
  record("2");
  EXPECT_EQ(extraOf("2")["campaign_ids"], json::array());
}

TEST_F(EventStoreTest, OneValueThatIsNoJsonCostsAllAttributes) {
  const Value bad[] = {std::numeric_limits<double>::quiet_NaN(), -std::numeric_limits<double>::infinity(),
                       dateSince1970(1), Value(List{Value(dateSince1970(1))}), "\xFF"};
  int number = 0;
  for (const Value& value : bad) {
    const std::string action = "bad" + std::to_string(number++);
    EventData data;
    data.add("S_", "good", "x");
    data.add("N_", "bad", value);
    EXPECT_NE(library_->services().events.createEvent({.action = action, .data = &data}), nullptr);
    EXPECT_EQ(stored("SELECT extra FROM SNEvent WHERE action = '" + action + "'"), "{}");
  }
}

TEST_F(EventStoreTest, EventThatCouldNotBeSavedGoesWithTheNextSave) {
  record("first");
  plant("CREATE TRIGGER no BEFORE INSERT ON SNEvent BEGIN SELECT RAISE(ABORT, 'no'); END");
  EXPECT_EQ(library_->services().events.createEvent({.action = "lost?"}), nullptr);
  EXPECT_EQ(run([&] { return library_->services().events.pendingCount(); }), 3u);
  plant("DROP TRIGGER no");
  record("next");
  EXPECT_EQ(stored("SELECT action || serialNumber FROM SNEvent WHERE serialNumber > 2 ORDER BY serialNumber"),
            "lost?3,next4");
}

TEST_F(EventStoreTest, DeletionTakesTheEventOutOfTheCount) {
  record("+PUSH_CAMPAIGN_RECEIVED", EventType::push_campaign);
  record("+PUSH_CAMPAIGN_RECEIVED", EventType::push_campaign);
  run([&] {
    const auto events = library_->context().fetchRecords<SNEvent>();
    EXPECT_TRUE(library_->services().events.deleteEvent(*events[0]));
    EXPECT_EQ(library_->services().events.pendingCount(), 1u);
    events[1]->set(SNEvent::eventID, std::nullopt);
    EXPECT_FALSE(library_->services().events.deleteEvent(*events[1])) << "without an identifier it stays";
  });
  EXPECT_EQ(stored("SELECT count(*) FROM SNEvent"), "1");
}

}  // namespace sorn::sync
