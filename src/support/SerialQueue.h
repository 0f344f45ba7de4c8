#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <type_traits>
#include <utility>

namespace sorn::support {

// Runs blocks one at a time, in the order in which they came. It is an order rather than a thread: a caller
// that waits for its turn runs what stands before it and then its own block on its own thread, instead of
// waking a worker and sleeping; what nobody waits for runs on the worker. So a block may run on any thread,
// and no user callback may run inside one.
class SerialQueue {
 public:
  using Block = std::function<void()>;

  SerialQueue() = default;
  // Runs what is still queued, then ends the worker. No call may be in progress.
  ~SerialQueue();
  SerialQueue(const SerialQueue&) = delete;
  SerialQueue& operator=(const SerialQueue&) = delete;

  // Appends the block and returns, also when called from inside a block of this queue. Blocks don't throw.
  void performBlock(Block block);

  // Runs the block after everything queued before it and returns its result. From inside a block of this
  // queue it runs at once.
  template <class Work>
  std::invoke_result_t<Work&> performBlockAndWait(Work&& work) {
    if (isCurrent()) return work();
    const Turn turn(*this);
    return work();
  }

  // Whether the calling thread is inside a block of this queue.
  bool isCurrent() const { return owner_.load(std::memory_order_relaxed) == std::this_thread::get_id(); }

  // Work for moments in which the queue has been without a block for this long, such as check-pointing a
  // log. It runs on the worker outside any turn, so blocks may run meanwhile. Set before the first block.
  void setQuietHandler(std::chrono::milliseconds quiet, Block handler);
  // Has the quiet handler run once on the worker although there is no quiet, beside the blocks. From inside a
  // block.
  void runQuietHandlerSoon();

 private:
  // A thread that waits to be given the queue.
  struct Waiter {
    std::condition_variable granted;
    bool isGranted = false;
  };
  struct Entry {
    Block block;               // empty for a waiter's place
    Waiter* waiter = nullptr;  // null for a block
  };
  // Holds the queue for the calling thread, from its turn on until the end of its scope.
  class Turn {
   public:
    explicit Turn(SerialQueue& queue) : queue_(queue) { queue_.acquire(); }
    ~Turn() { queue_.release(); }
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;

   private:
    SerialQueue& queue_;
  };

  void acquire();
  void release();
  void waitForGrant(std::unique_lock<std::mutex>& lock);
  void runBlocksBefore(const Waiter* self, std::unique_lock<std::mutex>& lock, std::size_t count);
  void handOn();
  void startWorker();
  void runWorker();
  void waitForWork(std::unique_lock<std::mutex>& lock);

  std::mutex mutex_;
  std::deque<Entry> entries_;
  std::size_t waiterCount_ = 0;
  bool isHeld_ = false;
  std::atomic<std::thread::id> owner_{};

  std::thread worker_;
  std::condition_variable workerWake_;
  bool workerSleeps_ = false;  // without a time limit
  bool ending_ = false;
  bool isHandlerWanted_ = false;
  std::uint64_t turns_ = 0;       // how often the queue has come to rest
  std::uint64_t quietTurns_ = 0;  // value of `turns_` that the quiet handler has seen
  std::chrono::milliseconds quiet_{0};
  Block quietHandler_;
};

}  // namespace sorn::support
