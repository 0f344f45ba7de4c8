#include <atomic>
#include <thread>

#include "fakes/ServiceFixture.h"

namespace sorn::facade {

using ::testing::IsEmpty;
using tests::answer;

namespace {

constexpr const char* activate = "user/activate/json";
constexpr const char* activateAnonymous = "user/activate-anonymous/json";
constexpr const char* preferences = "ios/preferences/save/json";

}  // namespace

// A library whose default user the service already knows.
class UsersTest : public tests::ServiceFixture {
 protected:
  UsersTest() {
    launch();
    library_->services().database.currentApplication();
    library_->services().userRecords.loginDefaultUser();
    library_->services().userRecords.userStatus(store::ServerStatusState::isTrue);
  }

  users::Users& users() { return library_->services().users; }
  // Logs in and gives the error that the completion gets.
  std::optional<SornError> login(const std::string& id) {
    std::promise<std::exception_ptr> completed;
    users().loginUser(id, [&](const std::exception_ptr& error) { completed.set_value(error); });
    const std::exception_ptr error = completed.get_future().get();
    settle();
    return tests::refusalOf([&] {
      if (error) std::rethrow_exception(error);
    });
  }
  std::optional<SornError> registerTags(const std::vector<std::string>& tags) {
    auto refusal = tests::refusalOf([&] { users().registerPreferences(tags); });
    settle();
    return refusal;
  }
  void logout() {
    users().logoutUser();
    settle();
  }
  std::string activeUser() {
    return stored("SELECT userID FROM SNUser WHERE id = (SELECT activeUser FROM SNApplication)");
  }
  std::string statusOf(const std::string& userID) {
    return stored("SELECT status FROM SNUser WHERE userID = '" + userID + "'");
  }
  // The users of the login events, in order.
  std::string loginEvents() {
    return stored(
        "SELECT userID FROM SNEvent e JOIN SNUser u ON e.user = u.id WHERE action = '+LOGIN' "
        "ORDER BY e.id");
  }
};

TEST_F(UsersTest, DefaultUserIsTheDevicesOwnNumber) {
  const std::string identifier = *library_->services().database.entityIdentifier();
  ASSERT_EQ(identifier.size(), 3u + 2u + 36u);
  EXPECT_EQ("key::" + users().defaultUser(), identifier);
}

TEST_F(UsersTest, LoginStoresTellsAndRecordsInThisOrder) {
  hold(activate);
  EXPECT_FALSE(login("ann"));
  EXPECT_EQ(activeUser(), "ann");
  EXPECT_EQ(statusOf("ann"), "0");
  EXPECT_EQ(stored("SELECT lastInboxAccess FROM SNUser WHERE userID = 'ann'"), "0.0");
  EXPECT_EQ(loginEvents(), "ann");
  EXPECT_EQ(stored("SELECT category FROM SNEvent WHERE action = '+LOGIN'"), "NO_CATEGORY");
  ASSERT_EQ(calls(activate).size(), 1u) << "the completion waits for no answer";
  EXPECT_EQ(calls(activate)[0]["user_id"], "ann");
  EXPECT_EQ(calls(activate)[0]["entity_id"], *library_->services().database.entityIdentifier());
  answerCall(activate, answer(200));
  EXPECT_EQ(statusOf("ann"), "1");
}

TEST_F(UsersTest, LoginOfTheActiveUserDoesNothingOnceTheServiceHasTakenIt) {
  hold(activate);
  login("ann");
  login("ann");
  EXPECT_EQ(calls(activate).size(), 2u) << "no answer yet";
  EXPECT_EQ(loginEvents(), "ann,ann");
  answerCall(activate, answer(500));
  login("ann");
  EXPECT_EQ(calls(activate).size(), 3u) << "the last call failed";
  answerCall(activate, answer(200));
  EXPECT_FALSE(login("ann"));
  EXPECT_EQ(calls(activate).size(), 3u);
  EXPECT_EQ(loginEvents(), "ann,ann,ann");
  EXPECT_EQ(logged("User ann already logged in. Nothing to do..."), 1u);
}

TEST_F(UsersTest, LateAnswerGoesToTheUserItWasAskedFor) {
  hold(activate);
  login("ann");
  respond(activate, answer(200));
  login("bea");
  answerCall(activate, answer(500));
  EXPECT_EQ(statusOf("ann"), "-1");
  EXPECT_EQ(statusOf("bea"), "1");
  EXPECT_EQ(activeUser(), "bea");
}

TEST_F(UsersTest, UsersAreKeptAndComeBackAsTheSameRecord) {
  login("ann");
  plant("UPDATE SNUser SET lastInboxAccess = 77 WHERE userID = 'ann'");
  login("bea");
  die();
  launch();
  login("ann");
  EXPECT_EQ(stored("SELECT count(*) FROM SNUser"), "3");
  EXPECT_EQ(stored("SELECT lastInboxAccess FROM SNUser WHERE userID = 'ann'"), "77.0");
}

TEST_F(UsersTest, IdentifiersOfFiveHundredBytesAreRefused) {
  std::string manyBytes;
  for (int count = 0; count < 250; ++count) manyBytes += "\xC3\xA9";
  const std::pair<std::string, bool> cases[] = {{"", true},
                                                {std::string(499, 'u'), true},
                                                {std::string(500, 'u'), false},
                                                {manyBytes, false},
                                                {manyBytes.substr(2), true}};
  for (const auto& [id, isTaken] : cases) {
    const std::size_t callsBefore = calls(activate).size();
    const auto refusal = login(id);
    EXPECT_EQ(!refusal, isTaken) << id.size();
    EXPECT_EQ(calls(activate).size(), callsBefore + (isTaken ? 1 : 0)) << id.size();
    if (refusal) {
      EXPECT_EQ(refusal->code(), SornError::Code::maxUserIDReached);
      EXPECT_EQ(refusal->supplied(), std::to_string(id.size()));
      EXPECT_EQ(refusal->max(), 500u);
    }
  }
}

TEST_F(UsersTest, StoreThatCannotSaveStillLogsIn) {
  plant("CREATE TRIGGER no BEFORE INSERT ON SNUser BEGIN SELECT RAISE(ABORT, 'no'); END");
  EXPECT_FALSE(login("ann"));
  EXPECT_EQ(calls(activate).size(), 1u);
  plant("DROP TRIGGER no");
  library_->services().database.saveContext();
  EXPECT_EQ(activeUser(), "ann");
  EXPECT_EQ(statusOf("ann"), "1");
}

TEST_F(UsersTest, NamingTheDefaultUserIsAnAnonymousLogin) {
  login("ann");
  const std::string id = users().defaultUser();
  login(id);
  ASSERT_EQ(calls(activateAnonymous).size(), 1u);
  EXPECT_EQ(calls(activateAnonymous)[0]["user_id"], id);
  EXPECT_EQ(calls(activate).size(), 1u);
}

TEST_F(UsersTest, LogoutReportsItselfAsALoginOfTheDefaultUser) {
  login("ann");
  hold(activateAnonymous);
  logout();
  EXPECT_EQ(activeUser(), users().defaultUser());
  EXPECT_EQ(loginEvents(), "ann," + users().defaultUser());
  EXPECT_EQ(statusOf(users().defaultUser()), "0");
  answerCall(activateAnonymous, answer(200));
  EXPECT_EQ(statusOf(users().defaultUser()), "1");
}

TEST_F(UsersTest, SecondLogoutDoesNothingIfTheFirstWasAccepted) {
  logout();
  EXPECT_THAT(paths(), IsEmpty()) << "it is the default user already";
  login("ann");
  hold(activateAnonymous);
  users().logoutUser();
  logout();
  EXPECT_EQ(calls(activateAnonymous).size(), 2u) << "neither is accepted yet";
  answerCall(activateAnonymous, answer(200));
  logout();
  EXPECT_EQ(calls(activateAnonymous).size(), 2u);
}

TEST_F(UsersTest, LoginsOfManyThreadsLeaveOneActiveUserTheLastToRecordItself) {
  std::atomic<int> completions = 0;
  std::vector<std::thread> threads;
  threads.reserve(4);
  for (int thread = 0; thread < 4; ++thread) {
    threads.emplace_back([&, thread] {
      for (int number = 0; number < 10; ++number) {
        users().loginUser(std::to_string(thread * 100 + number), [&](const std::exception_ptr& error) {
          if (!error) ++completions;
        });
      }
    });
  }
  for (auto& thread : threads) thread.join();
  settle();
  EXPECT_EQ(completions, 40);
  EXPECT_EQ(calls(activate).size(), 40u);
  EXPECT_EQ(stored("SELECT count(*) FROM SNUser WHERE activeInApplication IS NOT NULL"), "1");
  const std::string events = loginEvents();
  EXPECT_EQ(events.substr(events.rfind(',') + 1), activeUser());
}

TEST_F(UsersTest, TagsAreLimitedInNumberAndInBytes) {
  using Code = SornError::Code;
  std::string wide;
  for (int count = 0; count < 21; ++count) wide += "\xE2\x82\xAC";
  const std::string sixty(60, 't');
  std::vector<std::string> thirtyOne(31, "t");
  thirtyOne[3] = std::string(61, 't');
  std::vector<std::string> lastTooLong(30, sixty);
  lastTooLong[29] += "t";
  const std::pair<std::vector<std::string>, std::optional<Code>> cases[] = {
      {std::vector<std::string>(30, sixty), std::nullopt},
      {{}, std::nullopt},
      {{wide.substr(3)}, std::nullopt},
      {{wide}, Code::maxTagLengthReached},
      {lastTooLong, Code::maxTagLengthReached},
      {thirtyOne, Code::maxTagsReached}};
  std::size_t sent = 0;
  for (const auto& [tags, expected] : cases) {
    const auto refusal = registerTags(tags);
    EXPECT_EQ(refusal ? std::optional(refusal->code()) : std::nullopt, expected);
    if (!expected) {
      ASSERT_EQ(calls(preferences).size(), ++sent);
      EXPECT_EQ(calls(preferences).back()["tags"], tags);
      EXPECT_EQ(nlohmann::json::parse(stored("SELECT tags FROM SNPreferences")), tags);
    }
    EXPECT_EQ(calls(preferences).size(), sent);
  }
}

TEST_F(UsersTest, SameTagsInAnyOrderAreSentOnce) {
  registerTags({"tea", "tiles", "tea"});
  registerTags({"tiles", "tea"});
  registerTags({"tea", "tiles", "tiles"});
  EXPECT_EQ(calls(preferences).size(), 1u);
  registerTags({"tea"});
  registerTags({});
  EXPECT_EQ(calls(preferences).size(), 3u);
  registerTags({});
  EXPECT_EQ(calls(preferences).size(), 3u);
}

TEST_F(UsersTest, TagsThatWereNotTakenAreSentAgain) {
  hold(preferences);
  registerTags({"tea"});
  EXPECT_EQ(stored("SELECT status FROM SNPreferences"), "0");
  registerTags({"tea"});
  EXPECT_EQ(calls(preferences).size(), 2u) << "no answer yet";
  answerCall(preferences, answer(503));
  EXPECT_EQ(stored("SELECT status FROM SNPreferences"), "-1");
  registerTags({"tea"});
  EXPECT_EQ(calls(preferences).size(), 3u) << "the last call failed";
  answerCall(preferences, answer(200));
  registerTags({"tea"});
  EXPECT_EQ(calls(preferences).size(), 3u);
}

}  // namespace sorn::facade
