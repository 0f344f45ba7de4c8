#include "fakes/ServiceFixture.h"

namespace sorn::facade {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using tests::answer;

namespace {

constexpr const char* save = "ios/save/json";
constexpr const char* activate = "user/activate/json";
constexpr const char* activateAnonymous = "user/activate-anonymous/json";
constexpr double day = 86400;

}  // namespace

class ReconciliationTest : public tests::ServiceFixture {
 protected:
  // Runs the routine alone, over a process that has its account.
  void reconcile() {
    launch();
    run([this] { library_->services().reconciliation.run(SornMode::production); });
    settle();
  }
  // A process that started and whose device and user the service has taken.
  void startBefore() {
    start();
    library_->services().userRecords.userStatus(store::ServerStatusState::isTrue);
    die();
    ASSERT_EQ(stored("SELECT status FROM SNDevice"), "1");
  }
};

TEST_F(ReconciliationTest, FirstStartTellsTheServiceAndMakesTheDefaultUserWithoutTellingAboutIt) {
  start();
  EXPECT_TRUE(library_->state().didStart);
  ASSERT_THAT(paths(), ElementsAre(save));
  const auto body = calls(save)[0];
  EXPECT_EQ(body["entity_id"], stored("SELECT entityID FROM SNDevice"));
  EXPECT_EQ(body["entity_id"], host_.secureStore->items().at("test.host.key-SORN_UUID_KEY_V2"));
  EXPECT_EQ(body["device_model"], "Model 7");
  EXPECT_EQ(body["sdk_version"], "1.2.3");
  EXPECT_EQ(stored("SELECT status FROM SNDevice"), "1");
  EXPECT_EQ(stored("SELECT userID FROM SNUser"), library_->services().users.defaultUser());
  EXPECT_EQ(stored("SELECT status FROM SNUser"), "0") << "left to the maintenance";
  EXPECT_EQ(stored("SELECT count(*) FROM SNEvent"), "0");
  EXPECT_EQ(library_->state().mode, SornMode::development);
  EXPECT_EQ(logged("Starting SORN SDK 1.2.3, Mode: Development"), 1u);
  EXPECT_EQ(logged("Device server status is not true"), 1u);
  EXPECT_EQ(logged("Places preference is disabled..."), 1u);
  passMinutes(1);
  ASSERT_EQ(calls(activateAnonymous).size(), 1u);
  EXPECT_EQ(calls(activateAnonymous)[0]["user_id"], library_->services().users.defaultUser());
}

TEST_F(ReconciliationTest, UnchangedDeviceIsToldAgainAfterACalendarDayOrUnderAnotherStatusThanTrue) {
  struct Case {
    const char* status;
    double age;
    bool isTold;
  };
  const Case cases[] = {{"1", 0, false}, {"1", day - 1, false}, {"1", day, true},  {"1", -day, false},
                        {"-1", 0, true}, {"0", 0, true},        {"NULL", 0, true}, {"5", 0, true}};
  for (const auto& [status, age, isTold] : cases) {
    startBefore();
    plant(std::string("UPDATE SNDevice SET status = ") + status +
          ", statusUpdated = " + std::to_string(1'700'000'000 - age));
    const std::size_t linesBefore = logged("Stored info is old");
    start();
    EXPECT_EQ(calls(save).size(), isTold ? 1u : 0u) << status << age;
    EXPECT_EQ(logged("Stored info is old"), linesBefore + (age == day ? 1 : 0)) << status << age;
    EXPECT_EQ(stored("SELECT status FROM SNDevice"), "1") << status << age;
    die();
  }
  EXPECT_EQ(logged("No need to inform server"), 3u + 7u) << "and in the starts before, but for the first";
}

TEST_F(ReconciliationTest, EachChangedFactIsLoggedStoredAndTold) {
  startBefore();
  const std::size_t statusLines = logged("Device server status is not true");
  host_.facts->modelFact = "Model 8";
  host_.facts->operatorFact = std::nullopt;
  host_.facts->screenFact = platform::Screen{1080, 2340, 2};
  host_.bundle->versionText = "2.6";
  start();
  EXPECT_EQ(logged("Device info changed"), 1u);
  EXPECT_EQ(logged("device_model : Model 7 -> Model 8"), 1u);
  EXPECT_EQ(logged("network_operator : 26201 -> nil"), 1u);
  EXPECT_EQ(logged("app_version : 2.5 -> 2.6"), 1u);
  EXPECT_EQ(logged("screen_density : "), 1u);
  EXPECT_EQ(logged("screen_width : "), 0u);
  EXPECT_EQ(logged("Device server status is not true"), statusLines) << "it was true";
  ASSERT_EQ(calls(save).size(), 1u);
  EXPECT_EQ(calls(save)[0]["device_model"], "Model 8");
  EXPECT_EQ(calls(save)[0]["network_operator"], nullptr);
  EXPECT_EQ(stored("SELECT appVersion FROM SNDevice"), "2.6");
  EXPECT_EQ(stored("SELECT count(*) FROM SNDevice"), "1");
  start();
  EXPECT_THAT(calls(save), IsEmpty());
}

TEST_F(ReconciliationTest, DeviceWithoutAStatusGetsOneAndIsToldIfItChanged) {
  startBefore();
  plant("UPDATE SNDevice SET hasServerStatus = NULL, status = NULL, statusUpdated = NULL");
  start();
  EXPECT_THAT(calls(save), IsEmpty());
  EXPECT_EQ(logged("ServerStatus is invalid!"), 1u);
  host_.facts->modelFact = "Model 8";
  start();
  EXPECT_EQ(calls(save).size(), 1u);
  EXPECT_EQ(stored("SELECT status FROM SNDevice"), "1");
  EXPECT_EQ(logged("ServerStatus is invalid!"), 1u);
}

TEST_F(ReconciliationTest, LostIdentifierMakesANewDeviceOfTheSameApplication) {
  startBefore();
  const std::string former = stored("SELECT entityID FROM SNDevice");
  host_.secureStore->remove("test.host.key-SORN_UUID_KEY");
  host_.secureStore->remove("test.host.key-SORN_UUID_KEY_V2");
  start();
  const auto told = calls(save);
  ASSERT_EQ(told.size(), 1u);
  EXPECT_NE(told[0]["entity_id"], former);
  EXPECT_EQ(told[0]["entity_id"],
            stored("SELECT entityID FROM SNDevice WHERE id = (SELECT device FROM SNApplication)"));
}

TEST_F(ReconciliationTest, AnswerGivesConfigurationAndTimeOfCreation) {
  constexpr const char* configuration = R"("configuration":{"features":{"push":false,"report_usage":true},)"
                                        R"("events_options":{"batch_timeout":7,"batch_size":3}})";
  struct Case {
    Result result;
    std::int64_t batchSize;
    std::string createdAt;
    std::string status;
  };
  const std::string both = std::string("{\"createdAt\":1600000000.5,") + configuration + "}";
  const Case cases[] = {
      {answer(200, both), 3, "1600000000.5", "1"},
      {answer(200, std::string("{") + configuration + "}"), 3, "null", "1"},
      {answer(200, R"({"createdAt":5,"configuration":{"features":7}})"), 1000, "5.0", "1"},
      {answer(200, R"({"createdAt":"5","configuration":[]})"), 1000, "null", "1"},
      {answer(200, "[]"), 1000, "null", "1"},
      {answer(200, "no JSON"), 1000, "null", "-1"},
      {answer(500, both), 1000, "null", "-1"},
  };
  for (const Case& each : cases) {
    configure("");
    respond(save, each.result);
    start();
    EXPECT_EQ(library_->configuration().batchSize(), each.batchSize);
    EXPECT_EQ(stored("SELECT createdAt FROM SNDevice"), each.createdAt);
    EXPECT_EQ(stored("SELECT status FROM SNDevice"), each.status);
    die();
    plant("UPDATE SNDevice SET createdAt = NULL, status = -1");
  }
  EXPECT_EQ(logged("Could not decode configuration"), 5u);
  EXPECT_EQ(logged("Could not get device createdAt from server"), 5u);
  EXPECT_EQ(logged("Saved device info..."), 5u);
  EXPECT_EQ(logged("Error while saving to Sorn platform ("), 2u);
}

TEST_F(ReconciliationTest, StartDoesNotWaitForTheServiceAndALateFailureIsMadeUpFor) {
  hold(save);
  start();
  EXPECT_TRUE(library_->state().didStart);
  EXPECT_EQ(stored("SELECT status FROM SNDevice"), "0");
  host_.clock->advance(20);
  answerCall(save, answer(502));
  EXPECT_EQ(stored("SELECT status FROM SNDevice"), "-1");
  EXPECT_EQ(stored("SELECT statusUpdated FROM SNDevice"), "1700000020.0");
  respond(save, answer(200));
  host_.clock->advance(40);
  settle();
  EXPECT_EQ(calls(save).size(), 2u);
  EXPECT_EQ(stored("SELECT status FROM SNDevice"), "1");
}

TEST_F(ReconciliationTest, AnswerWhoseStatusCannotBeSavedIsLogged) {
  hold(save);
  start();
  plant("CREATE TRIGGER no BEFORE UPDATE ON SNDevice BEGIN SELECT RAISE(ABORT, 'no'); END");
  answerCall(save, answer(200));
  EXPECT_EQ(logged("Error while saving to DB..."), 1u);
  EXPECT_EQ(stored("SELECT status FROM SNDevice"), "0");
}

TEST_F(ReconciliationTest, OnlyAChangeOfTheFirstNumberCountsAsAnotherVersion) {
  struct Case {
    std::optional<std::string> before;
    std::optional<std::string> now;
    bool isOther;
  };
  const Case cases[] = {{"1.9.0", "1.10.0", false}, {"1.9.0", "2.0.0", true}, {"1", "1.0", false},
                        {"1.0", "10.0", true},      {"2.0", "1.9", true},     {"1-beta", "1", true},
                        {std::nullopt, "1.0", true}};
  for (const Case& each : cases) {
    host_.bundle->libraryText = each.before;
    respond(activate, answer(200));
    reconcile();
    library_->services().userRecords.userActivation("ann");
    library_->services().userRecords.userStatus(store::ServerStatusState::isTrue);
    library_->services().pushRecords.pushTokenStore("0a1b", store::ServerStatusState::isTrue);
    host_.bundle->libraryText = each.now;
    hold(activate);
    reconcile();
    EXPECT_EQ(calls(activate).size(), each.isOther ? 1u : 0u) << *each.now;
    EXPECT_EQ(stored("SELECT status FROM SNUser WHERE userID = 'ann'"), each.isOther ? "0" : "1")
        << *each.now;
    EXPECT_EQ(stored("SELECT status FROM SNPushGateway"), each.isOther ? "-1" : "1") << *each.now;
  }
}

TEST_F(ReconciliationTest, AnotherVersionLogsTheUserInAgain) {
  start();
  library_->sorn().loginUser("ann").get();
  settle();
  host_.bundle->libraryText = "2.0.0";
  start();
  ASSERT_EQ(calls(activate).size(), 1u);
  EXPECT_EQ(calls(activate)[0]["user_id"], "ann");
  EXPECT_EQ(stored("SELECT status FROM SNUser WHERE userID = 'ann'"), "1");
  EXPECT_EQ(logged("SDK Version changed... Re-Logging the user in..."), 1u);
  EXPECT_EQ(logged("Could not get device token data..."), 1u);
  start();
  EXPECT_THAT(calls(activate), IsEmpty());
}

TEST_F(ReconciliationTest, UserWithoutAnIdentifierIsReplacedByTheDefaultUser) {
  startBefore();
  for (const char* damage :
       {"UPDATE SNUser SET userID = NULL", "UPDATE SNApplication SET activeUser = NULL"}) {
    plant(damage);
    reconcile();
    EXPECT_THAT(calls(activate), IsEmpty());
    EXPECT_EQ(stored("SELECT userID FROM SNUser WHERE id = (SELECT activeUser FROM SNApplication)"),
              library_->services().users.defaultUser());
    die();
  }
}

TEST_F(ReconciliationTest, RecordsWithoutACategoryGoAndOthersStay) {
  startBefore();
  plant("INSERT INTO SNEvent (action, category) VALUES ('old', NULL), ('new', 'c'), ('empty', '')");
  plant("INSERT INTO SNInboxItem (campaignID, category) VALUES ('old', NULL), ('new', 0)");
  start();
  EXPECT_EQ(stored("SELECT action FROM SNEvent ORDER BY id"), "new,empty");
  EXPECT_EQ(stored("SELECT campaignID FROM SNInboxItem"), "new");
}

TEST_F(ReconciliationTest, PlacesNeedThePreferenceAndTheAccount) {
  struct Case {
    std::optional<bool> preference;
    const char* features;
    int fetches;
    const char* line;
  };
  const Case cases[] = {
      {std::nullopt, R"(,"macro_location":true)", 0, "Places preference is disabled..."},
      {false, R"(,"macro_location":true)", 0, "Places preference is disabled..."},
      {true, "", 0, "Places feature is disabled in your account"},
      {true, R"(,"macro_location":false)", 0, "Places feature is disabled in your account"},
      {true, R"(,"macro_location":1)", 1, "Places preference is enabled..."},
  };
  for (const Case& each : cases) {
    configure(each.features);
    if (each.preference) {
      launch();
      library_->services().placeRecords.locationsUpdate(*each.preference);
    }
    const std::size_t linesBefore = logged(each.line);
    reconcile();
    const auto isPlaces = [](const auto& request) {
      return request.url.find("/places/") != std::string::npos;
    };
    EXPECT_EQ(std::ranges::count_if(host_.transport->requests(), isPlaces), each.fetches);
    EXPECT_EQ(logged(each.line), linesBefore + 1) << each.features;
    die();
  }
}

TEST_F(ReconciliationTest, StoreThatCannotBeOpenedDoesNotKeepTheLibraryFromStarting) {
  host_.folder.write("documents", "a file where the folder should be");
  start();
  EXPECT_TRUE(library_->state().didStart);
  EXPECT_EQ(calls(save).size(), 1u);
}

}  // namespace sorn::facade
