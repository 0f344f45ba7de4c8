#include <set>
#include <thread>

#include "sync/SyncFixture.h"

namespace sorn::sync {

using platform::TransportError;
using tests::answer;

using EventBatchTest = SyncFixture;

TEST_F(EventBatchTest, LimitOfTenIsReachedByTheTenthEvent) {
  recordMany(8);  // and the session's first
  library().tasks().waitUntilIdle();
  flush();
  EXPECT_TRUE(host_.reports().empty());
  record("tenth");
  ASSERT_TRUE(reportsBecome(1));
  EXPECT_EQ(host_.reports()[0]["events"].size(), 10u);
  answerReport(answer(200));
  EXPECT_EQ(stored("SELECT count(*) FROM SNEvent"), "0");
}

TEST_F(EventBatchTest, TimerSendsWhatThereIsAndNothingWhenThereIsNothing) {
  library().database();
  host_.clock->advance(10);
  library().tasks().waitUntilIdle();
  flush();
  EXPECT_TRUE(host_.reports().empty());
  record("a");
  host_.clock->advance(9.9);
  library().tasks().waitUntilIdle();
  flush();
  EXPECT_TRUE(host_.reports().empty());
  host_.clock->advance(0.1);
  ASSERT_TRUE(reportsBecome(1));
  EXPECT_EQ(host_.reports()[0]["events"].size(), 2u);
}

TEST_F(EventBatchTest, ConfiguredSizeAndPeriodHold) {
  configure(4, 25);
  recordMany(2);
  library().tasks().waitUntilIdle();
  flush();
  EXPECT_TRUE(host_.reports().empty());
  record("fourth");
  ASSERT_TRUE(reportsBecome(1));
  answerReport(answer(200));
  record("later");
  host_.clock->advance(24.9);
  library().tasks().waitUntilIdle();
  flush();
  EXPECT_EQ(host_.reports().size(), 1u);
  host_.clock->advance(0.2);
  EXPECT_TRUE(reportsBecome(2));
}

TEST_F(EventBatchTest, SizeOfZeroOrLessSendsEachEvent) {
  for (const int size : {0, -3}) {
    configure(size, 1000);
    restart();
    record("+PUSH_CAMPAIGN_RECEIVED", EventType::push_campaign);
    ASSERT_TRUE(reportsBecome(1)) << size;
    answerReport(answer(200));
    record("+PUSH_CAMPAIGN_RECEIVED", EventType::push_campaign);
    ASSERT_TRUE(reportsBecome(2)) << size;
    answerReport(answer(200));
  }
}

TEST_F(EventBatchTest, OneBatchIsOutAtATimeAndWhatComesMeanwhileGoesWithTheNext) {
  recordMany(9);
  ASSERT_TRUE(reportsBecome(1));
  EXPECT_TRUE(run([&] { return library().database().isMaintaining(); }));
  for (int index = 0; index < 25; ++index) record("late" + std::to_string(index));
  library().batch().startEventBatching(EventBatch::Trigger::timer);
  flush();
  EXPECT_EQ(host_.reports().size(), 1u);
  answerReport(answer(200));
  EXPECT_FALSE(run([&] { return library().database().isMaintaining(); }));
  EXPECT_EQ(stored("SELECT count(*) FROM SNEvent"), "25");
  record("trigger");
  ASSERT_TRUE(reportsBecome(2));
  const auto second = host_.reports()[1]["events"];
  EXPECT_EQ(second.size(), 26u);
  EXPECT_EQ(second[0]["action"], "late0");
  EXPECT_EQ(second[25]["action"], "trigger");
}

TEST_F(EventBatchTest, OutcomeDecidesWhetherTheEventsGoOrWait) {
  struct Case {
    platform::HttpTransport::Result result;
    bool areDeleted;
  };
  const Case cases[] = {
      {answer(200, "{}"), true},
      {answer(200, "[]"), true},
      {platform::TransportError{400}, true},
      {platform::TransportError{406}, true},
      {answer(200, "no JSON"), false},
      {answer(204, ""), false},
      {answer(400), false},
      {answer(406), false},
      {answer(500), false},
      {TransportError{TransportError::timedOut}, false},
  };
  std::size_t kept = 0;
  std::size_t reports = 0;
  for (const Case& each : cases) {
    recordMany(reports == 0 ? 9 : 10);  // the session's first event is the tenth
    ASSERT_TRUE(reportsBecome(++reports));
    ASSERT_EQ(host_.reports().back()["events"].size(), 10u) << "none of a failed batch is sent again";
    answerReport(each.result);
    if (!each.areDeleted) kept += 10;
    EXPECT_EQ(countOf(-1), kept);
    EXPECT_EQ(countOf(0), 0u);
  }
  record("saves");
  EXPECT_EQ(stored("SELECT count(*) FROM SNEvent WHERE status = -1"), std::to_string(kept));
}

TEST_F(EventBatchTest, FailedDeletionAfterASuccessIsMadeUpForAndNothingIsSentTwice) {
  recordMany(8);
  execute("CREATE TRIGGER no BEFORE DELETE ON SNEvent BEGIN SELECT RAISE(ABORT, 'no'); END");
  record("tenth");
  ASSERT_TRUE(reportsBecome(1));
  answerReport(answer(200));
  EXPECT_EQ(countOf(0), 0u) << "gone in memory";
  EXPECT_EQ(stored("SELECT count(*) FROM SNEvent"), "10");
  execute("DROP TRIGGER no");
  record("next");
  EXPECT_EQ(stored("SELECT action FROM SNEvent"), "next");
}

TEST_F(EventBatchTest, NextProcessCountsWhatTheLastOneLeftPending) {
  recordMany(4);
  restart();
  record("a");  // with the new session's first
  record("b");
  record("c");
  library().tasks().waitUntilIdle();
  flush();
  EXPECT_TRUE(host_.reports().empty());
  record("tenth");
  ASSERT_TRUE(reportsBecome(1));
  EXPECT_EQ(host_.reports()[0]["events"].size(), 10u);
}

TEST_F(EventBatchTest, NextProcessLeavesOutWhatFailedBeforeWhereverItStands) {
  recordMany(5);
  execute("UPDATE SNEvent SET status = -1 WHERE action IN ('0', '2')");
  restart();
  record("new");
  library().batch().startEventBatching(EventBatch::Trigger::timer);
  ASSERT_TRUE(reportsBecome(1));
  EXPECT_EQ(actionsOf(host_.reports()[0]), "+APP_OPENED 1 3 4 new +APP_OPENED ");
  answerReport(answer(200));
  EXPECT_EQ(stored("SELECT action FROM SNEvent ORDER BY id"), "0,2");
}

TEST_F(EventBatchTest, BatchThatDiedWithItsProcessIsSentAgainByTheNext) {
  recordMany(9);
  ASSERT_TRUE(reportsBecome(1));
  const auto first = host_.reports()[0]["events"];
  restart();
  record("+PUSH_CAMPAIGN_RECEIVED", EventType::push_campaign);
  ASSERT_TRUE(reportsBecome(1));
  const auto again = host_.reports()[0]["events"];
  ASSERT_EQ(again.size(), 11u);
  for (int index = 0; index < 10; ++index) EXPECT_EQ(again[index], first[index]) << "the same to the letter";
}

TEST_F(EventBatchTest, BatchOfAnUnsavedEventIsReportedAndForgotten) {
  library().database().currentApplication();
  execute("CREATE TRIGGER no BEFORE INSERT ON SNEvent BEGIN SELECT RAISE(ABORT, 'no'); END");
  record("+PUSH_CAMPAIGN_RECEIVED", EventType::push_campaign);
  library().batch().startEventBatching(EventBatch::Trigger::timer);
  ASSERT_TRUE(reportsBecome(1));
  EXPECT_EQ(actionsOf(host_.reports()[0]), "+PUSH_CAMPAIGN_RECEIVED ");
  answerReport(answer(200));
  EXPECT_EQ(run([&] { return library().context().count(store::SNEvent::entity()); }), 0u);
}

TEST_F(EventBatchTest, EventsOfManyThreadsArriveOnceEach) {
  configure(7, 1000);
  library();
  host_.transport->setHandler([](const auto&) { return answer(200); });
  std::vector<std::thread> threads;
  threads.reserve(4);
  for (int thread = 0; thread < 4; ++thread) {
    threads.emplace_back([this, thread] {
      for (int index = 0; index < 50; ++index) record(std::to_string(thread * 100 + index));
    });
  }
  for (auto& thread : threads) thread.join();
  std::set<std::string> identifiers;
  std::multiset<std::string> actions;
  const auto collect = [&] {
    identifiers.clear();
    actions.clear();
    for (const auto& report : host_.reports()) {
      for (const auto& event : report["events"]) {
        identifiers.insert(event["event_id"]);
        actions.insert(event["action"]);
      }
    }
    return actions.size() >= 201;
  };
  ASSERT_TRUE(tests::becomesTrue([&] {
    library().batch().startEventBatching(EventBatch::Trigger::timer);
    library().tasks().waitUntilIdle();
    return collect();
  }));
  EXPECT_EQ(identifiers.size(), 201u);
  EXPECT_EQ(actions.size(), 201u);
  EXPECT_EQ(std::set<std::string>(actions.begin(), actions.end()).size(), 201u);
}

}  // namespace sorn::sync
