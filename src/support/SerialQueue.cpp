#include "support/SerialQueue.h"

namespace sorn::support {

SerialQueue::~SerialQueue() {
  // A block that runs at the end may still append others.
  for (bool isEmpty = false; !isEmpty;) {
    performBlockAndWait([] {});
    const std::lock_guard lock(mutex_);
    isEmpty = entries_.empty();
    ending_ = isEmpty;
  }
  workerWake_.notify_all();
  if (worker_.joinable()) worker_.join();
}

void SerialQueue::performBlock(Block block) {
  const std::lock_guard lock(mutex_);
  entries_.push_back({std::move(block), nullptr});
  startWorker();
  // Whoever holds the queue sees the new entry when it hands the queue on.
  if (!isHeld_) workerWake_.notify_one();
}

void SerialQueue::setQuietHandler(std::chrono::milliseconds quiet, Block handler) {
  const std::lock_guard lock(mutex_);
  quiet_ = quiet;
  quietHandler_ = std::move(handler);
}

void SerialQueue::runQuietHandlerSoon() {
  const std::lock_guard lock(mutex_);
  if (!quietHandler_ || isHandlerWanted_) return;
  isHandlerWanted_ = true;
  startWorker();
  workerWake_.notify_one();
}

// A caller that waits runs what stands before it itself: handing the queue to the worker and back would cost
// two changes of threads for each call, and the caller has to wait for those blocks anyway.
void SerialQueue::acquire() {
  std::unique_lock lock(mutex_);
  if (isHeld_) {
    waitForGrant(lock);
  } else {
    isHeld_ = true;
    owner_.store(std::this_thread::get_id(), std::memory_order_relaxed);
    // Nobody holds the queue, so no waiter stands in it: all entries are blocks that came before.
    runBlocksBefore(nullptr, lock, entries_.size());
  }
}

void SerialQueue::waitForGrant(std::unique_lock<std::mutex>& lock) {
  Waiter self;
  entries_.push_back({{}, &self});
  ++waiterCount_;
  self.granted.wait(lock, [&] { return self.isGranted; });
  owner_.store(std::this_thread::get_id(), std::memory_order_relaxed);
  // The queue is granted to the first waiter, so only blocks stand before this one.
  runBlocksBefore(&self, lock, entries_.size());
}

// Runs up to `count` entries from the front, or those before the waiter's own place, which it takes out.
void SerialQueue::runBlocksBefore(const Waiter* self, std::unique_lock<std::mutex>& lock, std::size_t count) {
  while (count-- > 0) {
    Entry entry = std::move(entries_.front());
    entries_.pop_front();
    if (entry.waiter) {
      --waiterCount_;
      if (entry.waiter == self) return;
      continue;
    }
    // The queue stays held, so nothing else of it runs; the lock is free, so that the block may append.
    lock.unlock();
    entry.block();
    // What the block holds dies within the turn, but not under the lock: it may call back.
    entry.block = {};
    lock.lock();
  }
}

void SerialQueue::release() {
  const std::lock_guard lock(mutex_);
  owner_.store({}, std::memory_order_relaxed);
  handOn();
}

// Gives the queue to the first waiting thread, which then runs the blocks before its place as well; without
// one, the worker takes what is left.
void SerialQueue::handOn() {
  if (waiterCount_ > 0) {
    for (Entry& entry : entries_) {
      if (!entry.waiter) continue;
      // `isHeld_` stays set: between the two owners nobody else may slip in.
      entry.waiter->isGranted = true;
      entry.waiter->granted.notify_one();
      return;
    }
  }
  isHeld_ = false;
  ++turns_;
  if (!entries_.empty()) {
    startWorker();
    workerWake_.notify_one();
  } else if (quietHandler_) {
    startWorker();
    // A worker in a timed wait finds out by itself that there was work.
    if (workerSleeps_) workerWake_.notify_one();
  }
}

void SerialQueue::startWorker() {
  if (!worker_.joinable()) worker_ = std::thread([this] { runWorker(); });
}

void SerialQueue::runWorker() {
  std::unique_lock lock(mutex_);
  while (true) {
    waitForWork(lock);
    if (ending_) return;
    if (!entries_.empty() && !isHeld_) {
      isHeld_ = true;
      owner_.store(std::this_thread::get_id(), std::memory_order_relaxed);
      // One block a turn: a thread that has come meanwhile takes over instead of waiting for them all.
      runBlocksBefore(nullptr, lock, 1);
      owner_.store({}, std::memory_order_relaxed);
      handOn();
    }
  }
}

// Returns when there is a block to run or the queue ends; meanwhile runs the quiet handler when it is due.
void SerialQueue::waitForWork(std::unique_lock<std::mutex>& lock) {
  while (!ending_ && (entries_.empty() || isHeld_)) {
    if (isHandlerWanted_) {
      isHandlerWanted_ = false;
      lock.unlock();
      quietHandler_();
      lock.lock();
      continue;
    }
    if (!quietHandler_ || turns_ == quietTurns_) {
      workerSleeps_ = true;
      workerWake_.wait(lock);
      workerSleeps_ = false;
      continue;
    }
    // Quiet is a whole wait without a turn: a turn that began and ended within it shows in the count alone.
    const std::uint64_t before = turns_;
    if (workerWake_.wait_for(lock, quiet_) == std::cv_status::timeout && turns_ == before && !isHeld_ &&
        entries_.empty() && !ending_) {
      quietTurns_ = turns_;
      lock.unlock();
      quietHandler_();
      lock.lock();
    }
  }
}

}  // namespace sorn::support
