#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>

#include "sorn/platform/Clock.h"
#include "sorn/platform/HttpTransport.h"

namespace sorn::support {

// The library's one task thread: runs posted work, repeating timers and the HTTP transport, whose `wait` is
// where the thread sleeps. It may wait for the store's queue; the store's queue never waits for it.
class Tasks {
 public:
  using Work = std::function<void()>;
  using Seconds = std::chrono::duration<double>;

  // A repeating timer; stops when it dies, but a tick that is running then still ends. Ticks that were missed
  // merge into one late tick, and later ones stay on the original grid.
  class Timer {
   public:
    ~Timer();
    Timer(const Timer&) = delete;
    Timer& operator=(const Timer&) = delete;

   private:
    friend class Tasks;
    Timer(Tasks& tasks, std::uint64_t id) : tasks_(tasks), id_(id) {}
    Tasks& tasks_;
    std::uint64_t id_;
  };

  Tasks(std::shared_ptr<platform::Clock> clock, std::shared_ptr<platform::HttpTransport> transport);
  ~Tasks();
  Tasks(const Tasks&) = delete;
  Tasks& operator=(const Tasks&) = delete;

  // Drops what is queued, cancels what is being sent and ends the thread; nothing that comes later runs. Not
  // from the task thread.
  void stop();

  // Runs the work on the task thread, in the order of posting. Any thread.
  void post(Work work);
  // Runs the work on the task thread every `interval`, first after one interval. Any thread.
  std::unique_ptr<Timer> every(Seconds interval, Work work);
  // Sends the request; the completion runs on the task thread. Any thread.
  using RequestId = std::uint64_t;
  RequestId send(platform::HttpRequest request, platform::HttpTransport::Completion completion);
  // Ends the request with `TransportError::cancelled`; nothing happens when it has ended. Any thread.
  void cancel(RequestId request);

  bool isCurrent() const { return std::this_thread::get_id() == threadId_.load(std::memory_order_relaxed); }

  // Time to the next tick on the clock, zero when one is due; absent without timers. Any thread.
  std::optional<Seconds> untilNextTimer();

  // Whether no work is queued or running, no timer is due and no request is on its way. Any thread.
  bool isIdle();
  // Returns when `isIdle`. Not from the task thread.
  void waitUntilIdle();

 private:
  struct Tick {
    platform::Monotonic due;
    Seconds interval;
    Work work;
  };

  void start();
  void run();
  bool runReady();
  bool runDueTimer();
  platform::Monotonic nextDue() const;
  Seconds longestWait() const;
  bool isIdleLocked();
  void wake();
  void sendNow(RequestId id, platform::HttpRequest request, platform::HttpTransport::Completion completion);

  const std::shared_ptr<platform::Clock> clock_;
  const std::shared_ptr<platform::HttpTransport> transport_;

  std::mutex mutex_;
  std::condition_variable idle_;
  std::deque<Work> ready_;
  std::map<std::uint64_t, std::shared_ptr<Tick>> ticks_;
  std::uint64_t lastTimer_ = 0;
  std::size_t requestsUnderWay_ = 0;
  bool isRunningWork_ = false;
  bool ending_ = false;
  bool ended_ = false;  // the thread is gone, so nothing queued will run
  RequestId lastRequest_ = 0;
  std::map<RequestId, platform::HttpTransport::RequestId> requests_;  // task thread alone
  std::atomic<std::thread::id> threadId_{};
  std::thread thread_;
};

}  // namespace sorn::support
