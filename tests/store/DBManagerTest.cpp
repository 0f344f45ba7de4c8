#include <gmock/gmock.h>

#include "fakes/RawDatabase.h"
#include "fakes/TestHost.h"
#include "store/entities/SNEvent.h"
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
    database_ = &library_->services().database;
  }
  decltype(auto) run(auto&& work) { return library_->context().performBlockAndWait(work); }
  std::string stored(const std::string& sql) { return tests::RawDatabase(host_.databaseFile()).column(sql); }
  void execute(const std::string& sql) { tests::RawDatabase(host_.databaseFile()).execute(sql); }

  tests::TestHost host_;
  std::unique_ptr<facade::Library> library_;
  DBManager* database_ = nullptr;
};

TEST_F(DBManagerTest, FirstUseMakesTheApplicationAndItsDevice) {
  EXPECT_EQ(library_->services().userRecords.defaultUserID(), std::nullopt) << "no device yet";
  const auto application = database_->currentApplication();
  EXPECT_EQ(database_->currentApplication(), application);
  EXPECT_EQ(stored("SELECT applicationKey || applicationSecret FROM SNApplication"), "keysecret");
  EXPECT_EQ(stored("SELECT status FROM SNDevice"), "0");
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
  host_.secureStore->put("test.host.key-SORN_UUID_KEY_V2", "key::0F5C1E3A-8D2B-4C6F-9A1E-7B3D5F902468");
  database_->currentApplication();
  users::UserRecords& users = library_->services().userRecords;
  EXPECT_EQ(users.defaultUserID(), "0F5C1E3A-8D2B-4C6F-9A1E-7B3D5F902468");
  users.loginDefaultUser();
  EXPECT_EQ(stored("SELECT userID FROM SNUser"), "0F5C1E3A-8D2B-4C6F-9A1E-7B3D5F902468");
  EXPECT_FALSE(users.isDefaultUser("somebody"));
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

TEST_F(DBManagerTest, ClearedSessionIsForgottenThoughItsDeletionCouldNotBeSaved) {
  database_->currentSession();
  database_->addCampaignID("c");
  execute("CREATE TRIGGER no BEFORE DELETE ON SNSession BEGIN SELECT RAISE(ABORT, 'no'); END");
  run([&] { database_->clearSessions(); });
  EXPECT_EQ(run([&] { return database_->backingCurrentSession(); }), nullptr);
  EXPECT_THAT(database_->campaignIDs(), IsEmpty());
  EXPECT_EQ(stored("SELECT count(*) FROM SNSession"), "1");
  execute("DROP TRIGGER no");
  database_->saveContext();
  EXPECT_EQ(stored("SELECT count(*) FROM SNSession"), "0");
}

TEST_F(DBManagerTest, BackgroundWithoutASessionDeletesStoredOnesAndRecordsNothing) {
  database_->currentApplication();
  execute("INSERT INTO SNSession (id, sessionID) VALUES (900, 'left behind')");
  library_->services().batch.enterBackground();
  facade::Diagnostics(library_->sorn()).waitUntilIdle();
  EXPECT_EQ(stored("SELECT count(*) FROM SNSession"), "0");
  EXPECT_EQ(stored("SELECT count(*) FROM SNEvent"), "0");
  EXPECT_THAT(host_.application->begunTasks(), ElementsAre("SORN_MAINTAIN_TASK"));
  EXPECT_EQ(host_.application->openTasks(), 0u) << "with nothing to send the task ends at once";
}

TEST_F(DBManagerTest, BackgroundTaskIsEndedOnceByTheBatchOrByItsTime) {
  enum class Expiry { none, meanwhile, atOnce };
  for (const Expiry expiry : {Expiry::none, Expiry::meanwhile, Expiry::atOnce}) {
    tests::TestHost host;
    host.application->expiresAtOnce = expiry == Expiry::atOnce;
    const auto library = host.launch();
    library->services().database.currentSession();
    library->services().batch.enterBackground();
    ASSERT_TRUE(tests::becomesTrue([&] { return host.reports().size() == 1; }));
    if (expiry == Expiry::meanwhile) host.application->expireTasks();
    library->context().performBlockAndWait([] {});
    EXPECT_EQ(host.application->openTasks(), expiry == Expiry::none ? 1u : 0u);
    host.answerReport(tests::answer(200));
    facade::Diagnostics(library->sorn()).waitUntilIdle();
    EXPECT_EQ(host.application->ends(), (std::map<platform::Application::BackgroundTask, int>{{1, 1}}));
  }
}

TEST_F(DBManagerTest, TagsAreKeptAsJsonWithTheirStatus) {
  users::UserRecords& users = library_->services().userRecords;
  EXPECT_EQ(users.preferencesRead(), std::nullopt);
  users.preferencesStore({"a\"b", "\xC3\xA4", ""}, ServerStatusState::isFalse);
  users.preferencesStore({"\xFF"}, ServerStatusState::isTrue);  // no text
  EXPECT_EQ(stored("SELECT tags || status FROM SNPreferences"), "[\"a\\\"b\",\"\xC3\xA4\",\"\"]-1");
  EXPECT_EQ(users.preferencesRead(), (Tags{"a\"b", "\xC3\xA4", ""}));
  users.preferencesStore({}, ServerStatusState::isTrue);
  EXPECT_EQ(users.preferencesRead(), Tags{});
  EXPECT_EQ(stored("SELECT status FROM SNPreferences"), "1");
  for (const char* text : {"", "[", "{\"a\":\"b\"}", "null", "[\"t\",1]", "[null]", "[\"t\"]x"}) {
    run([&] { library_->context().fetchRecords<SNPreferences>().at(0)->set(SNPreferences::tags, text); });
    EXPECT_EQ(users.preferencesRead(), std::nullopt) << text;
  }
}

TEST_F(DBManagerTest, TokenAndPermissionsShareOneGateway) {
  facade::Services& services = library_->services();
  services.pushRecords.pushGatewayUpdate(7, 2, ServerStatusState::pending);
  services.pushRecords.pushTokenStore("00ff", ServerStatusState::isFalse);
  EXPECT_EQ(stored("SELECT token || notificationTypes || authorizationStatus || status FROM SNPushGateway"),
            "00ff72-1");
  services.placeRecords.locationsUpdate(true);
  services.placeRecords.locationsUpdate(false);
  EXPECT_EQ(stored("SELECT enabled || status FROM SNLocations"), "0-1");
  services.deviceRecords.deviceCreatedAtStore(1234.5);
  EXPECT_TRUE(services.deviceRecords.deviceStatusUpdate(ServerStatusState::isTrue));
  EXPECT_EQ(stored("SELECT createdAt || ' ' || status FROM SNDevice"), "1234.5 1");
}

}  // namespace sorn::store
