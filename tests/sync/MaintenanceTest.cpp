#include "sync/MaintenanceFixture.h"

namespace sorn::sync {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using tests::answer;

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
  EXPECT_FALSE(run([this] { return library_->services().database.isMaintaining(); }))
      << "calls outlive the run";
}

TEST_F(MaintenanceTest, AnswerBecomesTheRecordsStatus) {
  const std::pair<Result, std::string> answers[] = {
      {answer(200), "1"},
      {answer(200, "[1]"), "1"},
      {answer(200, "no JSON"), "-1"},
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
  for (const double age : {-3600.0, 29.0, 30.0, 30.25}) {
    for (const Owner& owner : owners) setStatus(owner.table, "0", age);
    launch();
    maintain();
    const bool isSent = age > 30;
    for (const Owner& owner : owners) {
      EXPECT_EQ(calls(owner.path).size(), isSent ? 1u : 0u) << owner.path << age;
      EXPECT_EQ(statusOf(owner.table), isSent ? "1" : "0") << owner.path << age;
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
  passMinutes(3);
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
    passMinutes(1);
    ASSERT_EQ(calls(activate).size(), runs);
  }
  respond(activate, answer(200));
  passMinutes(3);
  EXPECT_EQ(calls(activate).size(), 21u);
}

TEST_F(MaintenanceTest, CallThatGetsNoAnswerIsMadeAgainAndTheLastAnswerWins) {
  setStatus("SNPreferences", "-1");
  hold(preferences);
  launch();
  passMinutes(1);
  ASSERT_EQ(calls(preferences).size(), 1u);
  passMinutes(1);
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
  passMinutes(3);
  EXPECT_EQ(calls(save).size(), 3u);
  answerCall(save, answer(200));
  maintain();
  EXPECT_EQ(calls(save).size(), 3u);
}

TEST_F(MaintenanceTest, LateAnswerOfAUserGoesToWhoeverIsTheUserByThen) {
  setStatus("SNUser", "-1");
  hold(activate);
  launch();
  maintain();
  library_->services().userRecords.userActivation("bea");
  library_->services().userRecords.userStatus(store::ServerStatusState::isTrue);
  answerCall(activate, answer(500));
  EXPECT_EQ(stored("SELECT status FROM SNUser WHERE userID = 'ann'"), "0");
  EXPECT_EQ(stored("SELECT status FROM SNUser WHERE userID = 'bea'"), "-1");
}

TEST_F(MaintenanceTest, UserWithoutAnIdentifierComesBackUnsent) {
  setStatus("SNUser", "-1");
  plant("UPDATE SNUser SET userID = NULL");
  launch();
  passMinutes(2);
  EXPECT_THAT(paths(), IsEmpty());
  EXPECT_EQ(statusOf("SNUser"), "0");
  EXPECT_EQ(logged("User ID is missing!"), 2u);
}

TEST_F(MaintenanceTest, UnusableTagsAndAnAbsentTokenStayUnsentAndDoNotStopTheRest) {
  plant("UPDATE SNPushGateway SET token = NULL");
  for (const char* tags : {"NULL", "'no JSON'", "''", "'[\"a\"'"}) {
    for (const char* table : {"SNPreferences", "SNPushGateway", "SNLocations"}) setStatus(table, "-1");
    plant(std::string("UPDATE SNPreferences SET tags = ") + tags);
    launch();
    maintain();
    EXPECT_THAT(paths(), ElementsAre(locationRegister)) << tags;
    EXPECT_EQ(statusOf("SNPreferences"), "-1") << tags;
    EXPECT_EQ(statusOf("SNPushGateway"), "-1") << tags;
    die();
  }
}

TEST_F(MaintenanceTest, PlacesThatWereSwitchedOffAreUnregistered) {
  setStatus("SNLocations", "-1");
  plant("UPDATE SNLocations SET enabled = 0");
  launch();
  maintain();
  EXPECT_THAT(paths(), ElementsAre(locationUnregister));
}

TEST_F(MaintenanceTest, RunDuringABatchEndsBeforeItsFirstStep) {
  setStatus("SNUser", "-1");
  hold(report);
  host_.defaults->set("kSORN_LAST_START", Dictionary{{"SRStartFileName", "c"}});
  launch();
  library_->services().recorder.record({.category = "c", .action = "a"});
  library_->services().batch.startEventBatching(events::EventBatch::Trigger::timer);
  settle();
  ASSERT_EQ(calls(report).size(), 1u);
  passMinutes(1);
  EXPECT_THAT(paths(), ElementsAre(report));
  EXPECT_FALSE(library_->state().didStart);
  answerCall(report, answer(200));
  passMinutes(1);
  EXPECT_EQ(calls(activate).size(), 1u);
  EXPECT_TRUE(library_->state().didStart);
}

TEST_F(MaintenanceTest, LibraryThatNobodyStartedIsStartedByTheLastFile) {
  const std::pair<std::optional<Value>, bool> cases[] = {
      {Dictionary{{"SRStartFileName", "c"}}, true},
      {std::nullopt, false},
      {Value("c"), false},
      {Dictionary{}, false},
      {Dictionary{{"SRStartFileName", 5}}, false},
      {Dictionary{{"SRStartFileName", "missing"}}, false},
      {Dictionary{{"SRStartFileName", ""}}, false},
  };
  for (const auto& [lastStart, starts] : cases) {
    setStatus("SNUser", "-1");
    host_.defaults->remove("kSORN_LAST_START");
    if (lastStart) host_.defaults->set("kSORN_LAST_START", *lastStart);
    launch();
    maintain();
    EXPECT_EQ(library_->state().didStart, starts);
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
