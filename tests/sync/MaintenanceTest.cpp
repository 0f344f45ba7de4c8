#include "fakes/ServiceFixture.h"
#include "sync/MaintenanceRoutine.h"

namespace sorn::sync {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using tests::answer;

namespace {

constexpr const char* save = "ios/save/json";
constexpr const char* activate = "user/activate/json";
constexpr const char* activateAnonymous = "user/activate-anonymous/json";
constexpr const char* preferences = "ios/preferences/save/json";
constexpr const char* report = "events/report/json";
constexpr const char* inboxRead = "inbox/read/json";
constexpr const char* inboxDelete = "inbox/delete/json";
constexpr const char* pushToken = "ios/push/token/update/json";
constexpr const char* locationRegister = "ios/location/register/json";
constexpr const char* locationUnregister = "ios/location/unregister/json";

// A record of an application, and the call that reports it.
struct Owner {
  const char* table;
  const char* path;
};
const Owner owners[] = {{"SNDevice", save},
                        {"SNUser", activate},
                        {"SNPreferences", preferences},
                        {"SNPushGateway", pushToken},
                        {"SNLocations", locationRegister}};

}  // namespace

class MaintenanceTest : public tests::ServiceFixture {
 protected:
  static constexpr const char* ownDevice = "(SELECT max(device) FROM SNApplication)";
  static constexpr const char* ownUser = "(SELECT max(activeUser) FROM SNApplication)";

  // A store in which the service knows everything, left by a process that is gone.
  MaintenanceTest() {
    launch();
    auto& database = library_->database();
    database.deviceStatusUpdate(store::ServerStatusState::isTrue);
    database.userActivation("ann");
    database.userStatus(store::ServerStatusState::isTrue);
    database.preferencesStore({"tea", "tiles"}, store::ServerStatusState::isTrue);
    database.pushTokenStore("0a1b", store::ServerStatusState::isTrue);
    database.locationsUpdate(true);
    die();
    plant("UPDATE SNLocations SET status = 1");
  }
  void setStatus(const std::string& table, const std::string& status, double age = 0) {
    plant("UPDATE " + table + " SET status = " + status +
          ", statusUpdated = " + std::to_string(1'700'000'000 - age));
  }
  void addEvent(const std::string& action, const std::string& status, const std::string& date = "1700000000",
                const std::string& device = ownDevice, const std::string& user = ownUser) {
    plant(
        "INSERT INTO SNEvent (eventID, category, action, timestamp, device, user, hasServerStatus, status, "
        "statusUpdated) VALUES ('" +
        action + "', 'c', '" + action + "', 1, " + device + ", " + user + ", 1, " + status + ", " + date +
        ")");
  }
  void addItem(const std::string& campaign, const std::string& dates, const std::string& status = "-1",
               const std::string& device = ownDevice, const std::string& user = ownUser) {
    plant(
        "INSERT INTO SNInboxItem (campaignID, category, readAt, deletedAt, device, user, hasServerStatus, "
        "status, statusUpdated) VALUES ('" +
        campaign + "', 1, " + dates + ", " + device + ", " + user + ", 1, " + status + ", 1700000000)");
  }
  void maintain() {
    library_->maintenance().maintain();
    settle();
  }
  std::string statusOf(const std::string& table) {
    run([this] { library_->context().save(); });
    return stored("SELECT status FROM " + table + " ORDER BY id");
  }
  std::vector<std::string> actionsOf(const nlohmann::json& body) {
    std::vector<std::string> actions;
    for (const auto& event : body["events"]) actions.push_back(event["action"]);
    return actions;
  }
  std::vector<std::string> campaignsOf(const nlohmann::json& list) {
    std::vector<std::string> campaigns;
    for (const auto& item : list) campaigns.push_back(item["campaign_id"]);
    return campaigns;
  }
};

TEST_F(MaintenanceTest, NothingIsSentWhenTheServiceKnowsEverything) {
  launch();
  maintain();
  EXPECT_THAT(paths(), IsEmpty());
}

TEST_F(MaintenanceTest, TimerRunsItEveryMinute) {
  setStatus("SNUser", "-1");
  launch();
  host_.clock->advance(59.9);
  settle();
  EXPECT_THAT(paths(), IsEmpty());
  host_.clock->advance(0.1);
  settle();
  EXPECT_THAT(paths(), ElementsAre(activate));
}

TEST_F(MaintenanceTest, StepsComeInTheirOrderAndEachPassesThroughPendingButTheDevice) {
  for (const Owner& owner : owners) setStatus(owner.table, "-1");
  addEvent("a", "-1");
  addItem("r", "5, NULL");
  addItem("d", "NULL, 6");
  hold("/json");
  launch();
  maintain();
  EXPECT_THAT(paths(), ElementsAre(save, activate, preferences, report, inboxRead, inboxDelete, pushToken,
                                   locationRegister));
  EXPECT_EQ(statusOf("SNDevice"), "-1");
  for (const char* table : {"SNUser", "SNPreferences", "SNPushGateway", "SNLocations"}) {
    EXPECT_EQ(statusOf(table), "0") << table;
  }
  EXPECT_EQ(statusOf("SNInboxItem"), "0,0");
  EXPECT_EQ(calls(preferences)[0]["tags"], (std::vector<std::string>{"tea", "tiles"}));
  EXPECT_EQ(calls(pushToken)[0]["push_id"], "0a1b");
  EXPECT_EQ(calls(activate)[0]["user_id"], "ann");
  EXPECT_FALSE(run([this] { return library_->database().isMaintaining(); })) << "calls outlive the run";
}

TEST_F(MaintenanceTest, AnswerBecomesTheRecordsStatus) {
  const std::pair<Result, std::string> answers[] = {
      {answer(200), "1"},
      {answer(200, "[1]"), "1"},
      {answer(200, "no JSON"), "-1"},
      {answer(201), "-1"},
      {answer(400), "-1"},
      {answer(503), "-1"},
      {platform::TransportError{platform::TransportError::timedOut}, "-1"},
  };
  for (const auto& [result, status] : answers) {
    for (const Owner& owner : owners) {
      setStatus(owner.table, "-1");
      respond(owner.path, result);
    }
    launch();
    host_.clock->advance(5);
    maintain();
    for (const Owner& owner : owners) {
      EXPECT_EQ(calls(owner.path).size(), 1u) << owner.path;
      EXPECT_EQ(statusOf(owner.table), status) << owner.path;
      EXPECT_EQ(stored(std::string("SELECT statusUpdated - 1700000000 > 0 FROM ") + owner.table), "1");
    }
    die();
  }
}

TEST_F(MaintenanceTest, ReportPendingForExactlyThirtySecondsStaysPending) {
  struct Case {
    double age;
    bool isSent;
  };
  for (const Case& each : {Case{-3600, false}, Case{29, false}, Case{30, false}, Case{30.25, true}}) {
    for (const Owner& owner : owners) setStatus(owner.table, "0", each.age);
    launch();
    maintain();
    for (const Owner& owner : owners) {
      EXPECT_EQ(calls(owner.path).size(), each.isSent ? 1u : 0u) << owner.path << each.age;
      EXPECT_EQ(statusOf(owner.table), each.isSent ? "1" : "0") << owner.path << each.age;
    }
    die();
  }
}

TEST_F(MaintenanceTest, PendingReportWithoutADateIsNeverReset) {
  for (const Owner& owner : owners) {
    plant(std::string("UPDATE ") + owner.table + " SET status = 0, statusUpdated = NULL");
  }
  addEvent("dateless", "0", "NULL");
  launch();
  for (int minute = 0; minute < 3; ++minute) {
    host_.clock->advance(60);
    settle();
  }
  EXPECT_THAT(paths(), IsEmpty());
  for (const Owner& owner : owners) EXPECT_EQ(statusOf(owner.table), "0") << owner.table;
}

TEST_F(MaintenanceTest, UnknownAndAbsentStatusesCountAsUnsent) {
  for (const char* status : {"NULL", "7", "-2"}) {
    for (const Owner& owner : owners) setStatus(owner.table, status);
    launch();
    maintain();
    EXPECT_THAT(paths(), ElementsAre(save, activate, preferences, pushToken, locationRegister)) << status;
    die();
  }
}

TEST_F(MaintenanceTest, RecordWithoutAStatusRecordIsLeftAlone) {
  for (const Owner& owner : owners) {
    plant(std::string("UPDATE ") + owner.table + " SET hasServerStatus = NULL, status = NULL");
  }
  addEvent("bare", "NULL");
  plant("UPDATE SNEvent SET hasServerStatus = NULL");
  launch();
  maintain();
  EXPECT_THAT(paths(), IsEmpty());
}

TEST_F(MaintenanceTest, FailureIsSentAgainAtEveryRunWithoutEnd) {
  setStatus("SNUser", "-1");
  respond(activate, answer(400));
  launch();
  for (std::size_t runs = 1; runs <= 20; ++runs) {
    host_.clock->advance(60);
    settle();
    ASSERT_EQ(calls(activate).size(), runs);
  }
  respond(activate, answer(200));
  for (int minute = 0; minute < 3; ++minute) {
    host_.clock->advance(60);
    settle();
  }
  EXPECT_EQ(calls(activate).size(), 21u);
}

TEST_F(MaintenanceTest, CallThatGetsNoAnswerIsMadeAgainAndTheLastAnswerWins) {
  setStatus("SNPreferences", "-1");
  hold(preferences);
  launch();
  host_.clock->advance(60);
  settle();
  ASSERT_EQ(calls(preferences).size(), 1u);
  host_.clock->advance(60);
  settle();
  ASSERT_EQ(calls(preferences).size(), 2u);
  answerCall(preferences, answer(200));
  EXPECT_EQ(statusOf("SNPreferences"), "1");
  answerCall(preferences, answer(500));
  EXPECT_EQ(statusOf("SNPreferences"), "-1") << "the older call's late answer";
}

TEST_F(MaintenanceTest, DeviceIsSentAtEveryRunUntilTheFirstAnswer) {
  setStatus("SNDevice", "-1");
  hold(save);
  launch();
  for (int tick = 0; tick < 3; ++tick) maintain();
  EXPECT_EQ(calls(save).size(), 3u);
  answerCall(save, answer(200));
  maintain();
  EXPECT_EQ(calls(save).size(), 3u);
}

TEST_F(MaintenanceTest, DefaultUserIsReportedAsAnonymous) {
  launch();
  library_->database().loginDefaultUser();
  die();
  setStatus("SNUser", "-1");
  launch();
  maintain();
  ASSERT_THAT(paths(), ElementsAre(activateAnonymous));
  EXPECT_EQ(calls(activateAnonymous)[0]["user_id"], library_->users().defaultUser());
}

TEST_F(MaintenanceTest, LateAnswerOfAUserGoesToWhoeverIsTheUserByThen) {
  setStatus("SNUser", "-1");
  hold(activate);
  launch();
  maintain();
  library_->database().userActivation("bea");
  library_->database().userStatus(store::ServerStatusState::isTrue);
  answerCall(activate, answer(500));
  EXPECT_EQ(stored("SELECT status FROM SNUser WHERE userID = 'ann'"), "0");
  EXPECT_EQ(stored("SELECT status FROM SNUser WHERE userID = 'bea'"), "-1");
}

TEST_F(MaintenanceTest, UserWithoutAnIdentifierComesBackUnsent) {
  setStatus("SNUser", "-1");
  plant("UPDATE SNUser SET userID = NULL");
  launch();
  for (int minute = 0; minute < 2; ++minute) {
    host_.clock->advance(60);
    settle();
  }
  EXPECT_THAT(paths(), IsEmpty());
  EXPECT_EQ(statusOf("SNUser"), "0");
  EXPECT_EQ(logged("User ID is missing!"), 2u);
}

TEST_F(MaintenanceTest, UnusableTagsStayUnsentAndDoNotStopTheRest) {
  for (const char* tags : {"NULL", "'no JSON'", "''", "'[\"a\"'"}) {
    setStatus("SNPreferences", "-1");
    setStatus("SNPushGateway", "-1");
    plant(std::string("UPDATE SNPreferences SET tags = ") + tags);
    launch();
    maintain();
    EXPECT_THAT(paths(), ElementsAre(pushToken)) << tags;
    EXPECT_EQ(statusOf("SNPreferences"), "-1") << tags;
    die();
  }
}

TEST_F(MaintenanceTest, GatewayWithoutATokenIsNotSent) {
  setStatus("SNPushGateway", "-1");
  plant("UPDATE SNPushGateway SET token = NULL");
  launch();
  maintain();
  EXPECT_THAT(paths(), IsEmpty());
  EXPECT_EQ(statusOf("SNPushGateway"), "-1");
}

TEST_F(MaintenanceTest, PlacesThatWereSwitchedOffAreUnregistered) {
  setStatus("SNLocations", "-1");
  plant("UPDATE SNLocations SET enabled = 0");
  launch();
  maintain();
  EXPECT_THAT(paths(), ElementsAre(locationUnregister));
}

TEST_F(MaintenanceTest, EventsThatWaitedTooLongGoWithTheFailedOnesInOnePass) {
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

TEST_F(MaintenanceTest, EventsOnTheirWayAreNotSentTwiceAndNewOnesNeedNotWait) {
  addEvent("first", "-1");
  hold(report);
  launch();
  maintain();
  plant("UPDATE SNEvent SET status = -1");
  library_->record({.category = "c", .action = "second"});
  host_.clock->advance(60);
  settle();
  ASSERT_EQ(calls(report).size(), 2u);
  EXPECT_THAT(actionsOf(calls(report)[1]), ElementsAre("second", "+APP_OPENED"));
  answerCall(report, answer(200));
  EXPECT_EQ(stored("SELECT action FROM SNEvent"), "first");
  answerCall(report, answer(500));
  maintain();
  ASSERT_EQ(calls(report).size(), 3u);
  EXPECT_THAT(actionsOf(calls(report)[2]), ElementsAre("first"));
}

TEST_F(MaintenanceTest, OnlyAnErrorThatItselfCarriesTheNumberGivesEventsUp) {
  const std::pair<Result, bool> cases[] = {
      {answer(200), true},
      {platform::TransportError{400}, true},
      {platform::TransportError{406}, true},
      {platform::TransportError{401}, false},
      {platform::TransportError{platform::TransportError::offline}, false},
      {answer(400), false},
      {answer(406), false},
      {answer(200, "<html>"), false},
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

TEST_F(MaintenanceTest, RecordsOfAnotherApplicationStayUnlessTheirUserCameAlong) {
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

TEST_F(MaintenanceTest, InboxItemsGoByWhatHappenedToThemLast) {
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

TEST_F(MaintenanceTest, ItemThatIsNeitherReadNorDeletedAlternatesAndNeverGoesOut) {
  addItem("neither", "NULL, NULL");
  launch();
  for (int minute = 1; minute <= 3; ++minute) {
    host_.clock->advance(60);
    settle();
    EXPECT_EQ(statusOf("SNInboxItem"), "0");
    EXPECT_EQ(logged("Found 1 inbox items that need to be sent..."), static_cast<std::size_t>(minute));
  }
  EXPECT_THAT(paths(), IsEmpty());
}

TEST_F(MaintenanceTest, RunDuringABatchEndsBeforeItsFirstStep) {
  setStatus("SNUser", "-1");
  hold(report);
  host_.defaults->set("kSORN_LAST_START", Dictionary{{"SRStartFileName", "c"}});
  launch();
  library_->record({.category = "c", .action = "a"});
  library_->batch().startEventBatching(EventBatch::Trigger::timer);
  settle();
  ASSERT_EQ(calls(report).size(), 1u);
  host_.clock->advance(60);
  settle();
  EXPECT_THAT(paths(), ElementsAre(report));
  EXPECT_FALSE(library_->state().didStart);
  answerCall(report, answer(200));
  host_.clock->advance(60);
  settle();
  EXPECT_EQ(calls(activate).size(), 1u);
  EXPECT_TRUE(library_->state().didStart);
}

TEST_F(MaintenanceTest, StatusesWhoseSaveFailedGoOutWithTheNextSave) {
  setStatus("SNUser", "-1");
  launch();
  plant("CREATE TRIGGER no BEFORE UPDATE ON SNUser BEGIN SELECT RAISE(ABORT, 'no'); END");
  maintain();
  EXPECT_EQ(calls(activate).size(), 1u);
  EXPECT_EQ(stored("SELECT status FROM SNUser"), "-1");
  plant("DROP TRIGGER no");
  maintain();
  EXPECT_EQ(calls(activate).size(), 1u) << "the answer is known in memory";
  EXPECT_EQ(stored("SELECT status FROM SNUser"), "1");
}

TEST_F(MaintenanceTest, LibraryThatNobodyStartedIsStartedByTheLastFile) {
  struct Case {
    std::optional<Value> lastStart;
    bool starts;
  };
  const Case cases[] = {
      {Dictionary{{"SRStartFileName", "c"}}, true},
      {std::nullopt, false},
      {Value("c"), false},
      {Dictionary{}, false},
      {Dictionary{{"SRStartFileName", 5}}, false},
      {Dictionary{{"SRStartFileName", "missing"}}, false},
      {Dictionary{{"SRStartFileName", ""}}, false},
  };
  for (const Case& each : cases) {
    setStatus("SNUser", "-1");
    host_.defaults->remove("kSORN_LAST_START");
    if (each.lastStart) host_.defaults->set("kSORN_LAST_START", *each.lastStart);
    launch();
    maintain();
    EXPECT_EQ(library_->state().didStart, each.starts);
    EXPECT_EQ(calls(activate).size(), 1u) << "the run goes on";
    die();
  }
}

using MaintenanceDeathTest = MaintenanceTest;

TEST_F(MaintenanceDeathTest, StoredTagsOfAnotherShapeEndTheProcess) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  for (const char* tags : {"{}", "7", "null", "\"a\"", "[\"a\",1]", "[null]"}) {
    setStatus("SNPreferences", "-1");
    plant(std::string("UPDATE SNPreferences SET tags = '") + tags + "'");
    EXPECT_DEATH(
        {
          launch();
          maintain();
        },
        "Fatal error")
        << tags;
  }
}

}  // namespace sorn::sync
