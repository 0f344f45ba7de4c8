#include <algorithm>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "fakes/FakeClock.h"
#include "fakes/FakeTransport.h"
#include "support/Tasks.h"

namespace sorn::support {
namespace {

using platform::HttpRequest;
using platform::HttpResponse;
using platform::TransportError;
using tests::FakeClock;
using tests::FakeTransport;

class TasksTest : public testing::Test {
 protected:
  // The outcome of a request: a status, or a transport error's code.
  static int outcome(const platform::HttpTransport::Result& result) {
    if (const auto* response = std::get_if<HttpResponse>(&result)) return response->status;
    return std::get<TransportError>(result).code;
  }
  void send(std::string url) {
    HttpRequest request;
    request.url = std::move(url);
    tasks_.send(std::move(request), [this](const platform::HttpTransport::Result& result) {
      EXPECT_TRUE(tasks_.isCurrent());
      outcomes_.push_back(outcome(result));
    });
  }
  void advance(double seconds) {
    clock_->advance(seconds);
    tasks_.waitUntilIdle();
  }

  std::shared_ptr<FakeClock> clock_ = std::make_shared<FakeClock>();
  std::shared_ptr<FakeTransport> transport_ = std::make_shared<FakeTransport>();
  std::vector<int> outcomes_;  // written by the task thread alone
  Tasks tasks_{clock_, transport_};
};

TEST_F(TasksTest, WorkRunsInOrderOnOneThreadThatIsNotTheCallers) {
  std::vector<int> order;
  for (int number = 0; number < 100; ++number) {
    tasks_.post([&, number] {
      if (tasks_.isCurrent()) order.push_back(number);
      if (number == 0) tasks_.post([&] { order.push_back(1000); });
    });
  }
  tasks_.waitUntilIdle();
  EXPECT_FALSE(tasks_.isCurrent());
  ASSERT_EQ(order.size(), 101u);
  order.erase(std::find(order.begin(), order.end(), 1000));
  for (int number = 0; number < 100; ++number) EXPECT_EQ(order[static_cast<std::size_t>(number)], number);
}

TEST_F(TasksTest, ATimerFirstFiresAfterOneInterval) {
  std::vector<double> fired;
  const auto timer =
      tasks_.every(Tasks::Seconds(60), [&] { fired.push_back(secondsSince1970(clock_->now())); });
  advance(59.9);
  EXPECT_TRUE(fired.empty());
  advance(0.2);
  EXPECT_EQ(fired.size(), 1u);
  advance(59.8);
  EXPECT_EQ(fired.size(), 1u);
  advance(0.2);
  EXPECT_EQ(fired.size(), 2u);
}

TEST_F(TasksTest, MissedTicksMergeAndTheGridStays) {
  int fired = 0;
  const auto timer = tasks_.every(Tasks::Seconds(10), [&] { ++fired; });
  advance(35);  // due at 10, 20 and 30
  EXPECT_EQ(fired, 1);
  advance(4.5);  // 39.5
  EXPECT_EQ(fired, 1);
  advance(0.6);  // 40.1
  EXPECT_EQ(fired, 2);
}

TEST_F(TasksTest, TheWallClockDoesNotMoveTimers) {
  int fired = 0;
  const auto timer = tasks_.every(Tasks::Seconds(10), [&] { ++fired; });
  clock_->jump(4'000'000'000);
  tasks_.waitUntilIdle();
  EXPECT_EQ(fired, 0);
}

TEST_F(TasksTest, ATimerThatIsGoneFiresNoMoreAlsoWhenItsOwnWorkEndsIt) {
  int fired = 0;
  std::unique_ptr<Tasks::Timer> timer;
  // What the work holds dies with it and calls back into the tasks.
  const std::shared_ptr<void> held(nullptr, [&](void*) { tasks_.post([] {}); });
  timer = tasks_.every(Tasks::Seconds(1), [&, held] {
    ++fired;
    timer.reset();
  });
  advance(1.5);
  advance(10);
  EXPECT_EQ(fired, 1);
}

TEST_F(TasksTest, AnIntervalOfNothingDoesNotStopTheThread) {
  int fired = 0;
  const auto timer = tasks_.every(Tasks::Seconds(0), [&] { ++fired; });
  advance(1);
  EXPECT_EQ(fired, 1);
}

TEST_F(TasksTest, CompletionsComeOnTheTaskThreadAndIdleMeansAnswered) {
  transport_->prepareAnswer(204);
  transport_->prepare(TransportError{TransportError::offline});
  send("http://one.invalid");
  send("http://two.invalid");
  tasks_.waitUntilIdle();
  EXPECT_EQ(outcomes_, (std::vector<int>{204, -1009}));
  send("http://three.invalid");  // stays open
  while (transport_->openCount() == 0) std::this_thread::yield();
  EXPECT_FALSE(tasks_.isIdle());
  EXPECT_TRUE(transport_->answer(3, HttpResponse{200, {}, {}}));
  tasks_.waitUntilIdle();
  EXPECT_EQ(outcomes_.back(), 200);
}

TEST_F(TasksTest, TheEndCancelsWhatIsUnderWayAndDropsWhatIsQueued) {
  send("http://open.invalid");
  while (transport_->openCount() == 0) std::this_thread::yield();
  std::promise<void> entered;
  std::promise<void> release;
  bool dropped = true;
  tasks_.post([&] {
    entered.set_value();
    release.get_future().wait();
  });
  entered.get_future().wait();
  tasks_.post([&] { dropped = false; });
  std::thread releaser([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    release.set_value();
  });
  tasks_.stop();
  releaser.join();
  EXPECT_EQ(outcomes_, std::vector<int>{-999});
  tasks_.post([&] { dropped = false; });
  send("http://late.invalid");
  tasks_.waitUntilIdle();
  EXPECT_EQ(outcomes_.size(), 1u);
  EXPECT_TRUE(dropped);
}

TEST_F(TasksTest, ManyThreadsPostAndNothingIsLost) {
  int count = 0;
  std::vector<std::thread> threads;
  threads.reserve(4);
  for (int thread = 0; thread < 4; ++thread) {
    threads.emplace_back([&] {
      for (int round = 0; round < 2000; ++round) {
        tasks_.post([&] { ++count; });
        if (round % 100 == 0) tasks_.waitUntilIdle();
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  tasks_.waitUntilIdle();
  EXPECT_EQ(count, 8000);
}

}  // namespace
}  // namespace sorn::support
