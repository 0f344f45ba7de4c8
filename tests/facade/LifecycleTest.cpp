#include <thread>

#include "fakes/ServiceFixture.h"

namespace sorn::facade {

using ::testing::IsEmpty;
using tests::answer;

class LifecycleTest : public tests::ServiceFixture {
 protected:
  void hook(void (Sorn::*which)()) {
    (library_->sorn().*which)();
    settle();
  }
  std::string actions() { return stored("SELECT action FROM SNEvent ORDER BY id"); }
};

TEST_F(LifecycleTest, SessionRunsFromTheFirstForegroundHookToTheLastOne) {
  constexpr auto launched = &Sorn::applicationDidFinishLaunching;
  constexpr auto active = &Sorn::applicationDidBecomeActive;
  constexpr auto resign = &Sorn::applicationWillResignActive;
  constexpr auto background = &Sorn::applicationDidEnterBackground;
  constexpr auto foreground = &Sorn::applicationWillEnterForeground;
  constexpr auto terminate = &Sorn::applicationWillTerminate;
  constexpr auto refresh = &Sorn::applicationBackgroundRefreshStatusDidChange;
  constexpr auto defaults = &Sorn::userDefaultsDidChange;
  struct Case {
    std::vector<void (Sorn::*)()> hooks;
    const char* events;  // by their first letters: opened and closed
    const char* sessions;
  };
  const Case cases[] = {
      {{active}, "", "0"},
      {{resign, active, refresh, defaults}, "", "0"},
      {{launched, active}, "O", "1"},
      {{launched, foreground, launched}, "O", "1"},
      {{launched, active, resign, active}, "O", "1"},
      {{background}, "", "0"},
      {{terminate}, "", "0"},
      {{launched, terminate}, "OC", "0"},
      {{launched, terminate, terminate, background}, "OC", "0"},
      {{launched, active, resign, background}, "OC", "0"},
      {{launched, background, background, foreground, active}, "OCO", "1"},
      {{foreground, background, foreground, terminate}, "OCOC", "0"},
  };
  hold("events/report/json");
  for (const Case& each : cases) {
    start();
    for (const auto which : each.hooks) hook(which);
    EXPECT_EQ(stored("SELECT coalesce(group_concat(iif(action = '+APP_OPENED', 'O', 'C'), ''), '') FROM "
                     "(SELECT action FROM SNEvent ORDER BY id)"),
              each.events);
    EXPECT_EQ(stored("SELECT count(*) FROM SNSession"), each.sessions);
    die();
    plant("DELETE FROM SNEvent");
    plant("DELETE FROM SNSession");
  }
}

TEST_F(LifecycleTest, EventsNumberThemselvesAnewInEachSession) {
  hold("events/report/json");
  start();
  hook(&Sorn::applicationDidFinishLaunching);
  library_->sorn().logEventWith("cc", "first");
  hook(&Sorn::applicationDidEnterBackground);
  library_->sorn().logEventWith("cc", "second");
  hook(&Sorn::applicationWillEnterForeground);
  EXPECT_EQ(stored("SELECT serialNumber || action FROM SNEvent ORDER BY sessionID <> "
                   "(SELECT sessionID FROM SNEvent WHERE action = 'first'), serialNumber"),
            "1+APP_OPENED,2first,3+APP_CLOSED,1+APP_OPENED,2second");
}

TEST_F(LifecycleTest, TerminationReturnsWhenTheClosingEventIsOnTheDisk) {
  start();
  library_->sorn().applicationDidFinishLaunching();
  std::promise<void> begun;
  library_->context().performBlock([&] {  // a store that is busy when the end comes
    begun.set_value();
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  });
  begun.get_future().wait();
  library_->sorn().logScreenWithName("last");
  library_->sorn().applicationWillTerminate();
  EXPECT_EQ(actions(), "+APP_OPENED,+SCREEN_OPENED,+APP_CLOSED");
  EXPECT_EQ(stored("SELECT count(*) FROM SNSession"), "0");
}

TEST_F(LifecycleTest, BackgroundSendsWhatIsBatchedUnderATaskOfTheSystem) {
  start();
  hook(&Sorn::applicationDidFinishLaunching);
  EXPECT_THAT(calls("events/report/json"), IsEmpty());
  hold("events/report/json");
  hook(&Sorn::applicationDidEnterBackground);
  const auto reports = calls("events/report/json");
  ASSERT_EQ(reports.size(), 1u);
  EXPECT_EQ(reports[0]["events"].size(), 2u);
  EXPECT_EQ(host_.application->begunTasks(), std::vector<std::string>{"SORN_MAINTAIN_TASK"});
  EXPECT_EQ(host_.application->openTasks(), 1u);
  answerCall("events/report/json", answer(200));
  EXPECT_EQ(host_.application->openTasks(), 0u);
  EXPECT_EQ(actions(), "");
}

TEST_F(LifecycleTest, RefreshStatusIsReadAtTheStartAndWhenItChanges) {
  launch();
  EXPECT_EQ(library_->device().backgroundRefreshStatus(), 0);
  hook(&Sorn::applicationBackgroundRefreshStatusDidChange);
  EXPECT_EQ(library_->device().backgroundRefreshStatus(), 2);
  library_ = host_.install();
  library_->sorn().start("c");
  settle();
  EXPECT_EQ(library_->device().backgroundRefreshStatus(), 2);
}

TEST_F(LifecycleTest, EachHookButTheEmptyOneHasItsLine) {
  start();
  const std::pair<void (Sorn::*)(), const char*> hooks[] = {
      {&Sorn::applicationDidFinishLaunching, "Application -> Finished Launching"},
      {&Sorn::applicationDidBecomeActive, "Application -> Active"},
      {&Sorn::applicationWillResignActive, "Application -> Resign Active"},
      {&Sorn::applicationWillEnterForeground, "Application -> Will Enter Foreground"},
      {&Sorn::applicationDidEnterBackground, "Application -> Entered Background"},
      {&Sorn::applicationWillTerminate, "Application -> Terminate"},
      {&Sorn::applicationBackgroundRefreshStatusDidChange,
       "Application -> Background Refresh Status Changed"},
  };
  for (const auto& [which, line] : hooks) {
    hook(which);
    EXPECT_EQ(logged(line), 1u) << line;
  }
  hook(&Sorn::userDefaultsDidChange);
  EXPECT_EQ(logged("Application -> "), std::size(hooks));
}

TEST(LifecycleDeathTest, HookThatNeedsTheStoreBeforeAnyStartEndsTheProcess) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  for (const auto which : {&Sorn::applicationDidFinishLaunching, &Sorn::applicationWillEnterForeground}) {
    EXPECT_DEATH(
        {
          tests::TestHost host;
          const auto library = host.install();
          (library->sorn().*which)();
          library->context().performBlockAndWait([] {});
        },
        "Fatal error");
  }
}

}  // namespace sorn::facade
