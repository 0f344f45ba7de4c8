#include <atomic>
#include <future>
#include <memory>
#include <stdexcept>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "support/SerialQueue.h"

namespace sorn::support {
namespace {

using namespace std::chrono_literals;

TEST(SerialQueue, FromInsideABlockWaitingRunsAtOnceAndAppendingRunsLater) {
  SerialQueue queue;
  std::vector<int> order;
  queue.performBlockAndWait([&] {
    EXPECT_TRUE(queue.isCurrent());
    queue.performBlock([&] { order.push_back(3); });
    order.push_back(queue.performBlockAndWait([] { return 1; }));
    order.push_back(2);
  });
  EXPECT_FALSE(queue.isCurrent());
  // An exception of the caller's own block releases the queue.
  EXPECT_THROW(queue.performBlockAndWait([]() -> int { throw std::runtime_error("x"); }), std::runtime_error);
  queue.performBlockAndWait([&] { order.push_back(4); });
  EXPECT_EQ(order, (std::vector<int>{1, 2, 3, 4}));
}

TEST(SerialQueue, WhatABlockHoldsMayCallBackWhenItDies) {
  SerialQueue queue;
  std::vector<int> order;
  const auto hold = [&](int number) {
    return std::shared_ptr<void>(nullptr, [&queue, &order, number](void*) {
      EXPECT_TRUE(queue.isCurrent());
      queue.performBlock([&order, number] { order.push_back(number); });
    });
  };
  queue.performBlock([held = hold(1)] {});
  queue.performBlock([held = hold(2)] {});
  queue.performBlockAndWait([] {});
  queue.performBlockAndWait([] {});
  EXPECT_EQ(order, (std::vector<int>{1, 2}));
}

TEST(SerialQueue, ItsEndRunsWhatIsQueuedAndWhatThatAppends) {
  std::vector<int> order;
  {
    SerialQueue queue;
    queue.performBlock([&] {
      order.push_back(1);
      queue.performBlock([&] { queue.performBlock([&] { order.push_back(2); }); });
    });
  }
  EXPECT_EQ(order, (std::vector<int>{1, 2}));
}

// Every thread posts and waits in turn; the counters need no lock of their own when only one block runs at a
// time, and each thread's blocks must keep their order.
TEST(SerialQueue, ManyThreadsShareItWithoutOverlapOrReordering) {
  SerialQueue queue;
  std::vector<int> last(6, -1);
  int total = 0;
  int misplaced = 0;
  std::vector<std::thread> threads;
  threads.reserve(last.size());
  for (int thread = 0; thread < 6; ++thread) {
    threads.emplace_back([&, thread] {
      for (int round = 0; round < 3000; ++round) {
        const auto block = [&, thread, round] {
          misplaced += std::exchange(last[static_cast<std::size_t>(thread)], round) != round - 1;
          ++total;
        };
        (round + thread) % 3 == 0 ? queue.performBlockAndWait(block) : queue.performBlock(block);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(queue.performBlockAndWait([&] { return total; }), 18000);
  EXPECT_EQ(misplaced, 0);
}

// A posted block that nobody waits for runs by itself, also when it comes while another thread holds the
// queue.
TEST(SerialQueue, TheWorkerMissesNoBlock) {
  SerialQueue queue;
  for (int round = 0; round < 2000; ++round) {
    std::promise<void> ran;
    std::thread holder;
    if (round % 2 == 0) holder = std::thread([&] { queue.performBlockAndWait([] {}); });
    queue.performBlock([&] { ran.set_value(); });
    ASSERT_EQ(ran.get_future().wait_for(10s), std::future_status::ready) << round;
    if (holder.joinable()) holder.join();
  }
}

TEST(SerialQueue, TheQuietHandlerRunsOnceAfterEachTimeOfWork) {
  SerialQueue queue;
  std::promise<void> first;
  std::promise<void> second;
  std::atomic<int> runs = 0;
  queue.setQuietHandler(10ms, [&] {
    const int run = ++runs;
    EXPECT_FALSE(queue.isCurrent());
    if (run == 1) first.set_value();
    if (run == 2) second.set_value();
  });
  queue.performBlockAndWait([] {});
  ASSERT_EQ(first.get_future().wait_for(10s), std::future_status::ready);
  std::this_thread::sleep_for(30ms);
  EXPECT_EQ(runs, 1);
  queue.performBlock([] {});
  ASSERT_EQ(second.get_future().wait_for(10s), std::future_status::ready);
  queue.performBlock([] {});  // so that the worker waits for quiet when the long turn comes
  queue.performBlockAndWait([&] {
    std::this_thread::sleep_for(5ms);
    const int before = runs;
    std::this_thread::sleep_for(60ms);
    EXPECT_EQ(runs, before) << "a long turn is not quiet";
  });
}

}  // namespace
}  // namespace sorn::support
