#include "host/MainQueueThread.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <deque>
#include <map>
#include <mutex>
#include <thread>
#include <utility>

namespace sorn::host {

namespace {

using Clock = std::chrono::steady_clock;

// Later than this nothing is ever due; keeps the sum of now and a delay inside the clock's range.
constexpr std::chrono::duration<double> longestDelay = std::chrono::hours(24 * 365);

}  // namespace

// The waiting work, shared with the thread so that either may outlive the other.
class MainQueueThread::Loop : public std::enable_shared_from_this<Loop> {
 public:
  void add(std::function<void()> work) {
    {
      const std::lock_guard lock(mutex_);
      ready_.push_back(std::move(work));
      start();
    }
    changed_.notify_one();
  }

  void addAt(Clock::time_point due, std::function<void()> work) {
    {
      const std::lock_guard lock(mutex_);
      timed_.emplace(due, std::move(work));
      start();
    }
    changed_.notify_one();
  }

  void end() {
    // Dropped work dies without the lock: what it owns may post.
    std::deque<std::function<void()>> ready;
    std::multimap<Clock::time_point, std::function<void()>> timed;
    {
      const std::lock_guard lock(mutex_);
      isEnding_ = true;
      ready.swap(ready_);
      timed.swap(timed_);
    }
    changed_.notify_one();
    if (!thread_.joinable()) return;
    if (isCurrent()) {
      // The last owner died within the queue's own work. The thread holds the loop and ends behind that work.
      thread_.detach();
    } else {
      thread_.join();
    }
  }

  bool isCurrent() const { return threadId_.load(std::memory_order_relaxed) == std::this_thread::get_id(); }

 private:
  void start() {
    if (!thread_.joinable() && !isEnding_)
      thread_ = std::thread([self = shared_from_this()] { self->run(); });
  }

  void run() {
    threadId_.store(std::this_thread::get_id(), std::memory_order_relaxed);
    std::unique_lock lock(mutex_);
    while (!isEnding_) {
      takeDue();
      if (ready_.empty()) {
        sleep(lock);
        continue;
      }
      std::function<void()> work = std::move(ready_.front());
      ready_.pop_front();
      lock.unlock();
      work();
      work = {};
      lock.lock();
    }
  }

  // Delayed work joins the end of the line when its time has come: before each piece of work, since a line
  // that never empties must not keep it waiting.
  void takeDue() {
    const auto end = timed_.upper_bound(Clock::now());
    for (auto due = timed_.begin(); due != end; due = timed_.erase(due))
      ready_.push_back(std::move(due->second));
  }

  void sleep(std::unique_lock<std::mutex>& lock) {
    if (timed_.empty()) {
      changed_.wait(lock);
    } else {
      const Clock::time_point due = timed_.begin()->first;
      changed_.wait_until(lock, due);
    }
  }

  std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<std::function<void()>> ready_;
  std::multimap<Clock::time_point, std::function<void()>> timed_;  // equal times in the order of posting
  bool isEnding_ = false;
  std::atomic<std::thread::id> threadId_{};
  std::thread thread_;
};

MainQueueThread::MainQueueThread() : loop_(std::make_shared<Loop>()) {}

MainQueueThread::~MainQueueThread() { loop_->end(); }

void MainQueueThread::post(std::function<void()> work) { loop_->add(std::move(work)); }

void MainQueueThread::postAfter(std::chrono::duration<double> delay, std::function<void()> work) {
  const auto bounded = std::clamp(delay, std::chrono::duration<double>::zero(), longestDelay);
  loop_->addAt(Clock::now() + std::chrono::ceil<Clock::duration>(bounded), std::move(work));
}

bool MainQueueThread::isCurrent() const { return loop_->isCurrent(); }

}  // namespace sorn::host
