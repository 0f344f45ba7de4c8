#include <gmock/gmock.h>

#include "fakes/RawDatabase.h"
#include "fakes/TestHost.h"
#include "store/entities/SNEvent.h"
#include "store/entities/SNInboxItem.h"
#include "store/entities/SNPreferences.h"
#include "store/entities/SNPushGateway.h"

namespace sorn::store {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Tags = std::vector<std::string>;

class DBManagerTest : public ::testing::Test {
 protected:
  DBManagerTest() { launch(); }

  void launch() {
    library_.reset();
    library_ = host_.launch();
    database_ = &library_->database();
  }
  decltype(auto) run(auto&& work) { return library_->context().performBlockAndWait(work); }
  std::string stored(const std::string& sql) { return tests::RawDatabase(host_.databaseFile()).column(sql); }
  void execute(const std::string& sql) { tests::RawDatabase(host_.databaseFile()).execute(sql); }
  std::string actions() { return stored("SELECT action FROM SNEvent ORDER BY id"); }
  void settle() { facade::Diagnostics(library_->sorn()).waitUntilIdle(); }

  tests::TestHost host_;
  std::unique_ptr<facade::Library> library_;
  DBManager* database_ = nullptr;
};

TEST_F(DBManagerTest, FirstUseMakesTheApplicationAndItsDevice) {
  const auto application = database_->currentApplication();
  EXPECT_EQ(database_->currentApplication(), application);
  EXPECT_EQ(stored("SELECT applicationKey || applicationSecret FROM SNApplication"), "keysecret");
  EXPECT_EQ(stored("SELECT status FROM SNDevice"), "0");
  EXPECT_EQ(stored("SELECT screenWidth || ' ' || utcOffset || ' ' || deviceType FROM SNDevice"),
            "1080.0 -210 smartphone");
  EXPECT_EQ(stored("SELECT SNApplication.id = application FROM SNApplication, SNDevice"), "1");
  const std::string identifier = host_.secureStore->items()["test.host.key-SORN_UUID_KEY_V2"];
  EXPECT_EQ(stored("SELECT entityID FROM SNDevice"), identifier);
  EXPECT_EQ(database_->entityIdentifier(), identifier);
  launch();
  database_->currentApplication();
  EXPECT_EQ(stored("SELECT count(*) FROM SNApplication"), "1");
  EXPECT_EQ(stored("SELECT count(*) FROM SNDevice"), "1");
}

TEST_F(DBManagerTest, ChangedKeyOrSecretBeginsAfreshAndNamesTheFormerDevices) {
  database_->currentApplication();
  const auto first = database_->entityIdentifier();
  EXPECT_THAT(database_->otherEntityIds(), IsEmpty());
  host_.credentials.applicationKey = "key2";
  launch();
  database_->currentApplication();
  const auto second = database_->entityIdentifier();
  EXPECT_NE(first, second);
  EXPECT_THAT(database_->otherEntityIds(), ElementsAre(*first));
  host_.credentials.applicationSecret = "secret2";
  launch();
  database_->currentApplication();
  EXPECT_EQ(database_->entityIdentifier(), second) << "the identifier belongs to the key";
  EXPECT_THAT(database_->otherEntityIds(), ElementsAre(*first, *second)) << "before it moves the device over";
  launch();
  database_->currentApplication();
  EXPECT_THAT(database_->otherEntityIds(), ElementsAre(*first));
  EXPECT_EQ(stored("SELECT applicationKey || applicationSecret FROM SNApplication ORDER BY id"),
            "keysecret,key2secret,key2secret2");
}

TEST_F(DBManagerTest, DefaultUserIsTheEndOfTheDevicesIdentifier) {
  EXPECT_EQ(database_->defaultUserID(), std::nullopt) << "no device yet";
  host_.secureStore->put("test.host.key-SORN_UUID_KEY_V2", "key::0F5C1E3A-8D2B-4C6F-9A1E-7B3D5F902468");
  database_->currentApplication();
  EXPECT_EQ(database_->defaultUserID(), "0F5C1E3A-8D2B-4C6F-9A1E-7B3D5F902468");
  ASSERT_TRUE(database_->loginDefaultUser());
  EXPECT_TRUE(database_->isDefaultUser(*database_->currentUser()));
  ASSERT_TRUE(database_->userActivation("somebody"));
  EXPECT_FALSE(database_->isDefaultUser(*database_->currentUser()));
}

TEST_F(DBManagerTest, SessionBeginsWithItsOpeningEventAndReplacesWhatADeadProcessLeft) {
  database_->currentApplication();
  execute("INSERT INTO SNSession (id, sessionID) VALUES (900, 'left behind')");
  const auto session = database_->currentSession();
  EXPECT_EQ(run([&] { return database_->backingCurrentSession(); }), session);
  EXPECT_EQ(stored("SELECT sessionID FROM SNSession"),
            run([&] { return session->get(SNSession::sessionID).value(); }));
  EXPECT_EQ(stored("SELECT action || serialNumber || category FROM SNEvent"), "+APP_OPENED1NO_CATEGORY");
  EXPECT_NE(database_->currentSession(), session) << "each asks for a new one";
  EXPECT_EQ(stored("SELECT count(*) FROM SNSession"), "1");
}

TEST_F(DBManagerTest, EndOfASessionIsRecordedInItAndClearsWhatBelongedToIt) {
  const auto session = database_->currentSession();
  const std::string sessionID = run([&] { return session->get(SNSession::sessionID).value(); });
  database_->addCampaignID("c");
  run([&] { database_->endSession(); });
  EXPECT_EQ(stored("SELECT action || serialNumber FROM SNEvent ORDER BY id"), "+APP_OPENED1,+APP_CLOSED2");
  EXPECT_EQ(stored("SELECT DISTINCT sessionID FROM SNEvent"), sessionID);
  EXPECT_EQ(stored("SELECT count(*) FROM SNSession"), "0");
  EXPECT_EQ(run([&] { return database_->backingCurrentSession(); }), nullptr);
  EXPECT_THAT(database_->campaignIDs(), IsEmpty());
}

TEST_F(DBManagerTest, ClearedSessionIsForgottenThoughItsDeletionCouldNotBeSaved) {
  database_->currentSession();
  database_->addCampaignID("c");
  execute("CREATE TRIGGER no BEFORE DELETE ON SNSession BEGIN SELECT RAISE(ABORT, 'no'); END");
  run([&] { database_->clearSessions(); });
  EXPECT_EQ(run([&] { return database_->backingCurrentSession(); }), nullptr);
  EXPECT_THAT(database_->campaignIDs(), IsEmpty());
  EXPECT_EQ(stored("SELECT count(*) FROM SNSession"), "1");
  execute("DROP TRIGGER no");
  EXPECT_TRUE(database_->saveContext());
  EXPECT_EQ(stored("SELECT count(*) FROM SNSession"), "0");
}

TEST_F(DBManagerTest, BackgroundWithoutASessionDeletesStoredOnesAndRecordsNothing) {
  database_->currentApplication();
  execute("INSERT INTO SNSession (id, sessionID) VALUES (900, 'left behind')");
  database_->enterBackground();
  settle();
  EXPECT_EQ(stored("SELECT count(*) FROM SNSession"), "0");
  EXPECT_EQ(actions(), "");
  EXPECT_THAT(host_.application->begunTasks(), ElementsAre("SORN_MAINTAIN_TASK"));
  EXPECT_EQ(host_.application->openTasks(), 0u) << "with nothing to send the task ends at once";
}

TEST_F(DBManagerTest, BackgroundTaskLastsUntilTheBatchHasItsAnswer) {
  database_->currentSession();
  database_->enterBackground();
  ASSERT_TRUE(tests::becomesTrue([&] { return host_.reports().size() == 1; }));
  EXPECT_EQ(host_.application->openTasks(), 1u);
  EXPECT_EQ(host_.reports()[0]["events"][1]["action"], "+APP_CLOSED");
  host_.answerReport(tests::answer(200));
  settle();
  EXPECT_EQ(host_.application->ends(), (std::map<platform::Application::BackgroundTask, int>{{1, 1}}));
  EXPECT_EQ(actions(), "");
}

TEST_F(DBManagerTest, ExpiredBackgroundTaskIsEndedOnceAlthoughTheBatchStillComesBack) {
  database_->currentSession();
  database_->enterBackground();
  ASSERT_TRUE(tests::becomesTrue([&] { return host_.reports().size() == 1; }));
  host_.application->expireTasks();
  run([] {});
  EXPECT_EQ(host_.application->openTasks(), 0u);
  host_.answerReport(tests::answer(200));
  settle();
  EXPECT_EQ(host_.application->ends(), (std::map<platform::Application::BackgroundTask, int>{{1, 1}}));
}

TEST_F(DBManagerTest, BackgroundTaskWhoseTimeIsOverAtOnceIsEndedOnce) {
  host_.application->expiresAtOnce = true;
  database_->currentSession();
  database_->enterBackground();
  ASSERT_TRUE(tests::becomesTrue([&] { return host_.reports().size() == 1; }));
  host_.answerReport(tests::answer(200));
  settle();
  EXPECT_EQ(host_.application->ends(), (std::map<platform::Application::BackgroundTask, int>{{1, 1}}));
}

TEST_F(DBManagerTest, ActivationMakesAUserOnceAndMovesTheActivePlace) {
  ASSERT_TRUE(database_->userActivation("a"));
  run([&] { database_->currentUser()->set(SNUser::lastInboxAccess, dateSince1970(77)); });
  ASSERT_TRUE(database_->userStatus(ServerStatusState::isTrue));
  ASSERT_TRUE(database_->userActivation("b"));
  EXPECT_EQ(stored("SELECT userID || status || ' ' || lastInboxAccess || ' ' || "
                   "(activeInApplication IS NOT NULL) FROM SNUser ORDER BY id"),
            "a1 77.0 0,b0 0.0 1");
  ASSERT_TRUE(database_->userActivation("a"));
  EXPECT_EQ(stored("SELECT userID || status || ' ' || lastInboxAccess || ' ' || "
                   "(activeInApplication IS NOT NULL) FROM SNUser ORDER BY id"),
            "a0 77.0 1,b0 0.0 0");
  EXPECT_EQ(stored("SELECT count(application) FROM SNUser"), "2");
}

TEST_F(DBManagerTest, ActivationWithoutAnIdentifierChangesNothing) {
  ASSERT_TRUE(database_->userActivation("a"));
  EXPECT_FALSE(database_->userActivation(std::nullopt));
  EXPECT_EQ(stored("SELECT userID FROM SNUser"), "a");
  EXPECT_EQ(run([&] { return database_->currentUser()->get(SNUser::userID); }), "a");
}

TEST_F(DBManagerTest, FailedSaveIsReportedAndWrittenByTheNext) {
  database_->currentApplication();
  execute("CREATE TRIGGER no BEFORE INSERT ON SNUser BEGIN SELECT RAISE(ABORT, 'no'); END");
  EXPECT_FALSE(database_->userActivation("a"));
  EXPECT_EQ(run([&] { return database_->currentUser()->get(SNUser::userID); }), "a");
  execute("DROP TRIGGER no");
  EXPECT_TRUE(database_->preferencesStore({"t"}, ServerStatusState::isFalse));
  EXPECT_EQ(stored("SELECT userID FROM SNUser"), "a");
}

TEST_F(DBManagerTest, TagsAreKeptAsJsonWithTheirStatus) {
  EXPECT_EQ(database_->preferencesRead(), std::nullopt);
  ASSERT_TRUE(database_->preferencesStore({"a\"b", "\xC3\xA4", ""}, ServerStatusState::isFalse));
  EXPECT_EQ(stored("SELECT tags FROM SNPreferences"), "[\"a\\\"b\",\"\xC3\xA4\",\"\"]");
  EXPECT_EQ(stored("SELECT status FROM SNPreferences"), "-1");
  EXPECT_EQ(database_->preferencesRead(), (Tags{"a\"b", "\xC3\xA4", ""}));
  ASSERT_TRUE(database_->preferencesStore({}, ServerStatusState::isTrue));
  EXPECT_EQ(database_->preferencesRead(), Tags{});
  EXPECT_EQ(stored("SELECT status FROM SNPreferences"), "1");
}

TEST_F(DBManagerTest, TagsThatAreNoTextAreRefusedAndTheOldOnesStay) {
  ASSERT_TRUE(database_->preferencesStore({"old"}, ServerStatusState::isTrue));
  EXPECT_FALSE(database_->preferencesStore({"\xFF"}, ServerStatusState::isFalse));
  EXPECT_EQ(database_->preferencesRead(), Tags{"old"});
  EXPECT_EQ(stored("SELECT status FROM SNPreferences"), "1");
}

TEST_F(DBManagerTest, StoredTagsThatAreNoListOfTextsReadAsAbsent) {
  ASSERT_TRUE(database_->preferencesStore({"t"}, ServerStatusState::isTrue));
  for (const char* text : {"", "[", "{\"a\":\"b\"}", "null", "\"t\"", "[\"t\",1]", "[null]", "[\"t\"]x"}) {
    run([&] { library_->context().fetchRecords<SNPreferences>().at(0)->set(SNPreferences::tags, text); });
    EXPECT_EQ(database_->preferencesRead(), std::nullopt) << text;
  }
}

TEST_F(DBManagerTest, TokenAndPermissionsShareOneGateway) {
  ASSERT_TRUE(database_->pushGatewayUpdate(7, 2, ServerStatusState::pending));
  ASSERT_TRUE(database_->pushTokenStore("00ff", ServerStatusState::isFalse));
  EXPECT_EQ(stored("SELECT token || notificationTypes || authorizationStatus || status FROM SNPushGateway"),
            "00ff72-1");
  ASSERT_TRUE(database_->locationsUpdate(true));
  ASSERT_TRUE(database_->locationsUpdate(false));
  EXPECT_EQ(stored("SELECT enabled || status FROM SNLocations"), "0-1");
  ASSERT_TRUE(database_->deviceCreatedAtStore(1234.5));
  ASSERT_TRUE(database_->deviceStatusUpdate(ServerStatusState::isTrue));
  EXPECT_EQ(stored("SELECT createdAt || ' ' || status FROM SNDevice"), "1234.5 1");
}

TEST_F(DBManagerTest, RecordsOfOlderStoresWithoutACategoryGo) {
  database_->currentApplication();
  execute("INSERT INTO SNEvent (id, category) VALUES (901, NULL), (902, ''), (903, 'NO_CATEGORY')");
  execute("INSERT INTO SNInboxItem (id, category) VALUES (904, NULL), (905, 0), (906, 1)");
  ASSERT_TRUE(database_->deleteLocalRecords());
  EXPECT_EQ(stored("SELECT id FROM SNEvent ORDER BY id"), "902,903");
  EXPECT_EQ(stored("SELECT id FROM SNInboxItem ORDER BY id"), "905,906");
}

TEST(DBManagerDeathTest, NothingWorksBeforeThereAreCredentials) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(
      {
        tests::TestHost host;
        host.install()->database().currentApplication();
      },
      "Fatal error");
}

}  // namespace sorn::store
