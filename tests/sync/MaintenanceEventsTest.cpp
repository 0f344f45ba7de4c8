#include "sync/MaintenanceFixture.h"

namespace sorn::sync {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using tests::answer;

using MaintenanceEventsTest = MaintenanceTest;

TEST_F(MaintenanceEventsTest, EventsThatWaitedTooLongGoWithTheFailedOnesInOnePass) {
  addEvent("failed", "-1");
  addEvent("fresh", "0", "1699999970");
  addEvent("stale", "0", "1699999969.75");
  addEvent("future", "0", "1700003600");
  addEvent("known", "1");
  addEvent("unknown", "9");
  addEvent("statusless", "NULL", "NULL");
  launch();
  maintain();
  ASSERT_THAT(paths(), ElementsAre(report));
  EXPECT_THAT(actionsOf(calls(report)[0]), ElementsAre("failed", "stale", "unknown", "statusless"));
  EXPECT_EQ(stored("SELECT action FROM SNEvent ORDER BY id"), "fresh,future,known");
}

TEST_F(MaintenanceEventsTest, EventsOnTheirWayAreNotSentTwiceAndNewOnesNeedNotWait) {
  addEvent("first", "-1");
  hold(report);
  launch();
  maintain();
  plant("UPDATE SNEvent SET status = -1");
  library_->services().recorder.record({.category = "c", .action = "second"});
  passMinutes(1);
  ASSERT_EQ(calls(report).size(), 2u);
  EXPECT_THAT(actionsOf(calls(report)[1]), ElementsAre("second", "+APP_OPENED"));
  answerCall(report, answer(200));
  EXPECT_EQ(stored("SELECT action FROM SNEvent"), "first");
  answerCall(report, answer(500));
  maintain();
  ASSERT_EQ(calls(report).size(), 3u);
  EXPECT_THAT(actionsOf(calls(report)[2]), ElementsAre("first"));
}

TEST_F(MaintenanceEventsTest, OnlyAnErrorThatItselfCarriesTheNumberGivesEventsUp) {
  const std::pair<Result, bool> cases[] = {
      {answer(200), true},  {platform::TransportError{400}, true}, {platform::TransportError{401}, false},
      {answer(400), false}, {answer(200, "<html>"), false},
  };
  for (const auto& [result, isGone] : cases) {
    addEvent("a", "-1");
    addEvent("b", "-1");
    respond(report, result);
    launch();
    maintain();
    EXPECT_EQ(stored("SELECT count(*) FROM SNEvent"), isGone ? "0" : "2");
    maintain();
    EXPECT_EQ(calls(report).size(), isGone ? 1u : 2u);
    die();
    plant("DELETE FROM SNEvent");
  }
}

TEST_F(MaintenanceEventsTest, RecordsOfAnotherApplicationStayUnlessTheirUserCameAlong) {
  plant("INSERT INTO SNDevice (id, entityID) VALUES (801, 'former')");
  plant("INSERT INTO SNApplication (id, applicationKey, applicationSecret) VALUES (802, 'old', 'x')");
  plant("INSERT INTO SNUser (id, userID, application) VALUES (803, 'stranger', 802)");
  struct Case {
    const char* name;
    const char* device;
    const char* user;
    bool isSent;
  };
  const Case cases[] = {
      {"own device, own user", ownDevice, ownUser, true}, {"own device, stranger", ownDevice, "803", true},
      {"own device, no user", ownDevice, "NULL", true},   {"own device, lost user", ownDevice, "999", true},
      {"former device, own user", "801", ownUser, true},  {"former device, stranger", "801", "803", false},
      {"former device, no user", "801", "NULL", false},   {"former device, lost user", "801", "999", false},
      {"no device, own user", "NULL", ownUser, true},     {"no device, stranger", "NULL", "803", false},
      {"no device, no user", "NULL", "NULL", false},      {"lost device, own user", "999", ownUser, true},
  };
  std::vector<std::string> sent;
  std::string kept;
  for (const Case& each : cases) {
    addEvent(each.name, "-1", "1700000000", each.device, each.user);
    addItem(each.name, "5, NULL", "-1", each.device, each.user);
    if (each.isSent) {
      sent.emplace_back(each.name);
    } else {
      kept.append(kept.empty() ? "" : ",").append(each.name);
    }
  }
  launch();
  maintain();
  EXPECT_EQ(actionsOf(calls(report).at(0)), sent);
  EXPECT_EQ(campaignsOf(calls(inboxRead).at(0)["read"]), sent);
  EXPECT_EQ(stored("SELECT action FROM SNEvent ORDER BY id"), kept);
  EXPECT_EQ(stored("SELECT campaignID FROM SNInboxItem WHERE status = -1 ORDER BY id"), kept);
}

TEST_F(MaintenanceEventsTest, InboxItemsGoByWhatHappenedToThemLast) {
  addItem("read", "5, NULL");
  addItem("deleted", "NULL, 6");
  addItem("both", "5, 6");
  addItem("neither", "NULL, NULL");
  addItem("known", "5, NULL", "1");
  addItem("statusless", "5, NULL", "NULL");
  launch();
  maintain();
  ASSERT_THAT(paths(), ElementsAre(inboxRead, inboxDelete));
  EXPECT_EQ(campaignsOf(calls(inboxRead)[0]["read"]), (std::vector<std::string>{"read", "statusless"}));
  EXPECT_EQ(calls(inboxRead)[0]["read"][0]["timestamp"], 5);
  EXPECT_EQ(campaignsOf(calls(inboxDelete)[0]["deleted"]), (std::vector<std::string>{"deleted", "both"}));
  EXPECT_EQ(calls(inboxDelete)[0]["deleted"][1]["timestamp"], 6);
  EXPECT_EQ(logged("Found 5 inbox items that need to be sent..."), 1u);
}

TEST_F(MaintenanceEventsTest, ItemThatIsNeitherReadNorDeletedAlternatesAndNeverGoesOut) {
  addItem("neither", "NULL, NULL");
  launch();
  for (int minute = 1; minute <= 3; ++minute) {
    passMinutes(1);
    EXPECT_EQ(statusOf("SNInboxItem"), "0");
    EXPECT_EQ(logged("Found 1 inbox items that need to be sent..."), static_cast<std::size_t>(minute));
  }
  EXPECT_THAT(paths(), IsEmpty());
}

}  // namespace sorn::sync
