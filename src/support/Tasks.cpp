#include "support/Tasks.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace sorn::support {

namespace {

// How long the thread sleeps when nothing is due; anything that is posted wakes it earlier.
constexpr Tasks::Seconds longestSleep{3600.0};

// What an interval of nothing or less stands for; the server may have set it.
constexpr Tasks::Seconds shortestInterval{0.0001};

}  // namespace

Tasks::Timer::~Timer() {
  // The work dies after the lock is released: what it holds may call back.
  decltype(tasks_.ticks_)::node_type removed;
  const std::lock_guard lock(tasks_.mutex_);
  removed = tasks_.ticks_.extract(id_);
}

Tasks::Tasks(std::shared_ptr<platform::Clock> clock, std::shared_ptr<platform::HttpTransport> transport)
    : clock_(std::move(clock)), transport_(std::move(transport)) {
  clock_->setObserver([this] { wake(); });
}

Tasks::~Tasks() { stop(); }

void Tasks::stop() {
  clock_->setObserver({});
  {
    const std::lock_guard lock(mutex_);
    ending_ = true;
  }
  wake();
  if (thread_.joinable()) thread_.join();
  const std::lock_guard lock(mutex_);
  ended_ = true;
  idle_.notify_all();
}

void Tasks::post(Work work) {
  {
    const std::lock_guard lock(mutex_);
    ready_.push_back(std::move(work));
    start();
  }
  wake();
}

std::unique_ptr<Tasks::Timer> Tasks::every(Seconds interval, Work work) {
  if (!(interval > shortestInterval)) interval = shortestInterval;
  std::unique_ptr<Timer> timer;
  {
    const std::lock_guard lock(mutex_);
    const std::uint64_t id = ++lastTimer_;
    ticks_[id] = std::make_shared<Tick>(Tick{clock_->monotonic() + interval, interval, std::move(work)});
    timer.reset(new Timer(*this, id));
    start();
  }
  wake();
  return timer;
}

Tasks::RequestId Tasks::send(platform::HttpRequest request, platform::HttpTransport::Completion completion) {
  RequestId id = 0;
  {
    const std::lock_guard lock(mutex_);
    ++requestsUnderWay_;
    id = ++lastRequest_;
  }
  // A function object must be copyable, and a request may carry a very large body: share it.
  auto shared = std::make_shared<platform::HttpRequest>(std::move(request));
  post([this, id, shared, completion = std::move(completion)] {
    sendNow(id, std::move(*shared), completion);
  });
  return id;
}

// Posted behind the sending, so the request is known by then or has ended.
void Tasks::cancel(RequestId request) {
  post([this, request] {
    if (const auto found = requests_.find(request); found != requests_.end())
      transport_->cancel(found->second);
  });
}

void Tasks::sendNow(RequestId id, platform::HttpRequest request,
                    platform::HttpTransport::Completion completion) {
  requests_[id] = transport_->send(std::move(request), [this, id, completion = std::move(completion)](
                                                           platform::HttpTransport::Result result) {
    requests_.erase(id);
    completion(std::move(result));
    const std::lock_guard lock(mutex_);
    --requestsUnderWay_;
  });
}

bool Tasks::isIdle() {
  const std::lock_guard lock(mutex_);
  return isIdleLocked();
}

void Tasks::waitUntilIdle() {
  wake();
  std::unique_lock lock(mutex_);
  idle_.wait(lock, [this] { return isIdleLocked(); });
}

bool Tasks::isIdleLocked() {
  if (ended_) return true;
  if (!ready_.empty() || isRunningWork_ || requestsUnderWay_ > 0) return false;
  const platform::Monotonic now = clock_->monotonic();
  for (const auto& [id, tick] : ticks_) {
    if (tick->due <= now) return false;
  }
  return true;
}

void Tasks::start() {
  if (!thread_.joinable() && !ending_) thread_ = std::thread([this] { run(); });
}

void Tasks::wake() { transport_->wakeUp(); }

void Tasks::run() {
  threadId_.store(std::this_thread::get_id(), std::memory_order_relaxed);
  while (true) {
    while (runReady() || runDueTimer()) {
    }
    Seconds sleep{0};
    {
      const std::lock_guard lock(mutex_);
      if (ending_) break;
      if (!ready_.empty()) continue;
      sleep = longestWait();
      if (isIdleLocked()) idle_.notify_all();
    }
    transport_->wait(sleep);
  }
  // Every request is answered once, at the end with a cancellation; its completion runs inside `wait`.
  while (!requests_.empty()) {
    transport_->cancel(requests_.begin()->second);
    transport_->wait(Seconds{0});
  }
}

bool Tasks::runReady() {
  std::unique_lock lock(mutex_);
  if (ready_.empty() || ending_) return false;
  Work work = std::move(ready_.front());
  ready_.pop_front();
  isRunningWork_ = true;
  lock.unlock();
  work();
  // Its end, too, runs foreign code, and idleness may not be told before that.
  work = {};
  lock.lock();
  isRunningWork_ = false;
  return true;
}

bool Tasks::runDueTimer() {
  std::shared_ptr<Tick> due;  // dies after the lock is released
  std::unique_lock lock(mutex_);
  if (ending_) return false;
  const platform::Monotonic now = clock_->monotonic();
  for (const auto& [id, tick] : ticks_) {
    if (tick->due <= now && (!due || tick->due < due->due)) due = tick;
  }
  if (!due) return false;
  // The next tick stays on the grid that the first one began, however late this one is: counted from now,
  // each delay would add up. Ticks that were missed meanwhile count as this one.
  const double missed = std::floor((now - due->due) / due->interval);
  due->due += (missed + 1) * due->interval;
  isRunningWork_ = true;
  lock.unlock();
  due->work();
  lock.lock();
  isRunningWork_ = false;
  return true;
}

std::optional<Tasks::Seconds> Tasks::untilNextTimer() {
  const std::lock_guard lock(mutex_);
  if (ticks_.empty()) return std::nullopt;
  return nextDue() - clock_->monotonic();
}

// The earliest tick; there is one.
platform::Monotonic Tasks::nextDue() const {
  platform::Monotonic next = ticks_.begin()->second->due;
  for (const auto& [id, tick] : ticks_) next = std::min(next, tick->due);
  return next;
}

Tasks::Seconds Tasks::longestWait() const {
  // A clock that is moved by hand wakes the thread at each move.
  if (!clock_->runsByItself() || ticks_.empty()) return longestSleep;
  return std::clamp(nextDue() - clock_->monotonic(), Seconds{0}, longestSleep);
}

}  // namespace sorn::support
