#include <set>
#include <thread>

#include "sync/SyncFixture.h"

namespace sorn::sync {

using platform::TransportError;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using tests::answer;

using EventBatchTest = SyncFixture;

TEST_F(EventBatchTest, LimitOfTenIsReachedByTheTenthEvent) {
  recordMany(8);  // and the session's first
  EXPECT_THAT(reports(), IsEmpty());
  record("tenth");
  ASSERT_EQ(reports().size(), 1u);
  EXPECT_EQ(reports()[0]["events"].size(), 10u);
  answerCall(report, answer(200));
  EXPECT_EQ(stored("SELECT count(*) FROM SNEvent"), "0");
}

TEST_F(EventBatchTest, TimerSendsWhatThereIsAndNothingWhenThereIsNothing) {
  host_.clock->advance(10);
  EXPECT_THAT(reports(), IsEmpty());
  record("a");
  host_.clock->advance(9.9);
  EXPECT_THAT(reports(), IsEmpty());
  host_.clock->advance(0.1);
  ASSERT_EQ(reports().size(), 1u);
  EXPECT_EQ(reports()[0]["events"].size(), 2u);
}

TEST_F(EventBatchTest, SizeOfZeroOrLessSendsEachEvent) {
  for (const int size : {0, -3}) {
    configure("", size, 1000);
    launch();
    record("+PUSH_CAMPAIGN_RECEIVED", EventType::push_campaign);
    ASSERT_EQ(reports().size(), 1u) << size;
    answerCall(report, answer(200));
    record("+PUSH_CAMPAIGN_RECEIVED", EventType::push_campaign);
    ASSERT_EQ(reports().size(), 2u) << size;
    answerCall(report, answer(200));
  }
}

TEST_F(EventBatchTest, OneBatchIsOutAtATimeAndWhatComesMeanwhileGoesWithTheNext) {
  recordMany(9);
  ASSERT_EQ(reports().size(), 1u);
  EXPECT_TRUE(run([&] { return library_->services().database.isMaintaining(); }));
  for (int index = 0; index < 25; ++index) record("late" + std::to_string(index));
  library_->services().batch.startEventBatching(events::EventBatch::Trigger::timer);
  EXPECT_EQ(reports().size(), 1u);
  answerCall(report, answer(200));
  EXPECT_FALSE(run([&] { return library_->services().database.isMaintaining(); }));
  EXPECT_EQ(stored("SELECT count(*) FROM SNEvent"), "25");
  record("trigger");
  ASSERT_EQ(reports().size(), 2u);
  const auto second = reports()[1]["events"];
  EXPECT_EQ(second.size(), 26u);
  EXPECT_EQ(second[0]["action"], "late0");
  EXPECT_EQ(second[25]["action"], "trigger");
}

TEST_F(EventBatchTest, OutcomeDecidesWhetherTheEventsGoOrWait) {
  const std::pair<platform::HttpTransport::Result, bool> cases[] = {
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
  std::size_t reportCount = 0;
  for (const auto& [result, areDeleted] : cases) {
    recordMany(reportCount == 0 ? 9 : 10);  // the session's first event is the tenth
    ASSERT_EQ(reports().size(), ++reportCount);
    ASSERT_EQ(reports().back()["events"].size(), 10u) << "none of a failed batch is sent again";
    answerCall(report, result);
    if (!areDeleted) kept += 10;
    EXPECT_EQ(countOf(-1), kept);
    EXPECT_EQ(countOf(0), 0u);
  }
  record("saves");
  EXPECT_EQ(stored("SELECT count(*) FROM SNEvent WHERE status = -1"), std::to_string(kept));
}

TEST_F(EventBatchTest, FailedDeletionAfterASuccessIsMadeUpForAndNothingIsSentTwice) {
  recordMany(8);
  plant("CREATE TRIGGER no BEFORE DELETE ON SNEvent BEGIN SELECT RAISE(ABORT, 'no'); END");
  record("tenth");
  ASSERT_EQ(reports().size(), 1u);
  answerCall(report, answer(200));
  EXPECT_EQ(countOf(0), 0u) << "gone in memory";
  EXPECT_EQ(stored("SELECT count(*) FROM SNEvent"), "10");
  plant("DROP TRIGGER no");
  record("next");
  EXPECT_EQ(stored("SELECT action FROM SNEvent"), "next");
}

TEST_F(EventBatchTest, NextProcessCountsWhatTheLastOneLeftPending) {
  recordMany(4);
  launch();
  record("a");  // with the new session's first
  record("b");
  record("c");
  EXPECT_THAT(reports(), IsEmpty());
  record("tenth");
  ASSERT_EQ(reports().size(), 1u);
  EXPECT_EQ(reports()[0]["events"].size(), 10u);
}

TEST_F(EventBatchTest, NextProcessLeavesOutWhatFailedBeforeWhereverItStands) {
  recordMany(5);
  plant("UPDATE SNEvent SET status = -1 WHERE action IN ('0', '2')");
  launch();
  record("new");
  library_->services().batch.startEventBatching(events::EventBatch::Trigger::timer);
  ASSERT_EQ(reports().size(), 1u);
  EXPECT_THAT(actionsOf(reports()[0]), ElementsAre("+APP_OPENED", "1", "3", "4", "new", "+APP_OPENED"));
  answerCall(report, answer(200));
  EXPECT_EQ(stored("SELECT action FROM SNEvent ORDER BY id"), "0,2");
}

TEST_F(EventBatchTest, BatchThatDiedWithItsProcessIsSentAgainByTheNext) {
  recordMany(9);
  ASSERT_EQ(reports().size(), 1u);
  const auto first = reports()[0]["events"];
  launch();
  record("+PUSH_CAMPAIGN_RECEIVED", EventType::push_campaign);
  ASSERT_EQ(reports().size(), 1u);
  const auto again = reports()[0]["events"];
  ASSERT_EQ(again.size(), 11u);
  for (int index = 0; index < 10; ++index) EXPECT_EQ(again[index], first[index]) << "the same to the letter";
}

TEST_F(EventBatchTest, BatchOfAnUnsavedEventIsReportedAndForgotten) {
  library_->services().database.currentApplication();
  plant("CREATE TRIGGER no BEFORE INSERT ON SNEvent BEGIN SELECT RAISE(ABORT, 'no'); END");
  record("+PUSH_CAMPAIGN_RECEIVED", EventType::push_campaign);
  library_->services().batch.startEventBatching(events::EventBatch::Trigger::timer);
  ASSERT_EQ(reports().size(), 1u);
  EXPECT_THAT(actionsOf(reports()[0]), ElementsAre("+PUSH_CAMPAIGN_RECEIVED"));
  answerCall(report, answer(200));
  EXPECT_EQ(run([&] { return library_->context().count(store::SNEvent::entity()); }), 0u);
}

TEST_F(EventBatchTest, EventsOfManyThreadsArriveOnceEach) {
  configure("", 7, 1000);
  launch();
  respond(report, answer(200));
  std::vector<std::thread> threads;
  threads.reserve(4);
  for (int thread = 0; thread < 4; ++thread) {
    threads.emplace_back([this, thread] {
      for (int index = 0; index < 50; ++index) record(std::to_string(thread * 100 + index));
    });
  }
  for (auto& thread : threads) thread.join();
  settle();
  library_->services().batch.startEventBatching(events::EventBatch::Trigger::timer);
  std::set<std::string> identifiers;
  std::multiset<std::string> actions;
  for (const auto& body : reports()) {
    for (const auto& event : body["events"]) {
      identifiers.insert(event["event_id"]);
      actions.insert(event["action"]);
    }
  }
  EXPECT_EQ(identifiers.size(), 201u);
  EXPECT_EQ(actions.size(), 201u);
  EXPECT_EQ(std::set<std::string>(actions.begin(), actions.end()).size(), 201u);
}

}  // namespace sorn::sync
