#include <future>
#include <memory>
#include <string>
#include <thread>
#include <utility>
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

TEST_F(TasksTest, ATimerFiresOnItsGridAndMissedTicksMerge) {
  int fired = 0;
  const auto timer = tasks_.every(Tasks::Seconds(10), [&] { ++fired; });
  clock_->jump(4'000'000'000);  // the clock on the wall does not move timers
  tasks_.waitUntilIdle();
  const std::pair<double, int> steps[] = {{9.9, 0}, {0.2, 1}, {24.9, 2}, {4.5, 2}, {0.6, 3}};
  for (const auto& [seconds, expected] : steps) {
    advance(seconds);  // to 9.9, 10.1, 35 (due at 20 and 30), 39.5, 40.1
    EXPECT_EQ(fired, expected) << seconds;
  }
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
  timer = tasks_.every(Tasks::Seconds(0), [&] { ++fired; });  // does not stop the thread
  advance(1);
  EXPECT_EQ(fired, 2);
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

TEST_F(TasksTest, ManyThreadsPostAndNothingIsLostOrReordered) {
  std::vector<int> last(4, -1);
  int count = 0;
  std::vector<std::thread> threads;
  threads.reserve(4);
  for (std::size_t thread = 0; thread < 4; ++thread) {
    threads.emplace_back([&, thread] {
      for (int round = 0; round < 2000; ++round) {
        tasks_.post([&, thread, round] {
          const bool isNext = tasks_.isCurrent() && std::exchange(last[thread], round) == round - 1;
          tasks_.post([&, isNext] { count += isNext ? 1 : 0; });
        });
        if (round % 100 == 0) tasks_.waitUntilIdle();
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  tasks_.waitUntilIdle();
  EXPECT_FALSE(tasks_.isCurrent());
  EXPECT_EQ(count, 8000);
}

}  // namespace
}  // namespace sorn::support
