#pragma once

#include <chrono>
#include <functional>
#include <memory>

#include "sorn/platform/MainQueue.h"

namespace sorn::host {

// The main queue of a host without a main loop: a thread of the library's own, begun by the first post.
// Delays run on the machine's monotonic clock. Any thread.
class MainQueueThread final : public platform::MainQueue {
 public:
  MainQueueThread();
  // Drops what has not run yet and waits for what is running, unless it is called by that.
  ~MainQueueThread() override;
  MainQueueThread(const MainQueueThread&) = delete;
  MainQueueThread& operator=(const MainQueueThread&) = delete;

  void post(std::function<void()> work) override;
  void postAfter(std::chrono::duration<double> delay, std::function<void()> work) override;

  // Whether the calling thread is the queue's.
  bool isCurrent() const;

 private:
  class Loop;
  std::shared_ptr<Loop> loop_;
};

}  // namespace sorn::host
