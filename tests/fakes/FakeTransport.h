#pragma once

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "sorn/platform/HttpTransport.h"

namespace sorn::tests {

// An HTTP transport without a network. A request is answered by the handler, by the next prepared result, or,
// without either, stays open until the test answers it. Completions run inside `wait`, as the port demands.
class FakeTransport : public platform::HttpTransport {
 public:
  // Gives the answer to a request, or nothing to leave it open. Runs on the task thread.
  using Handler = std::function<std::optional<Result>(const platform::HttpRequest&)>;

  RequestId send(platform::HttpRequest request, Completion completion) override {
    Handler handler;
    RequestId id = 0;
    {
      const std::lock_guard lock(mutex_);
      id = ++lastId_;
      open_[id] = std::move(completion);
      requests_.push_back(request);
      handler = handler_;
    }
    std::optional<Result> result = handler ? handler(request) : std::nullopt;
    const std::lock_guard lock(mutex_);
    if (!result && !prepared_.empty()) {
      result = std::move(prepared_.front());
      prepared_.pop_front();
    }
    if (result) finish(id, std::move(*result));
    return id;
  }

  void cancel(RequestId request) override {
    const std::lock_guard lock(mutex_);
    finish(request, platform::TransportError{platform::TransportError::cancelled});
  }

  void wait(std::chrono::duration<double> longest) override {
    std::vector<std::pair<Completion, Result>> finished;
    {
      std::unique_lock lock(mutex_);
      // A bounded sleep, so that very long times don't overflow the clock.
      const auto bounded = std::min(longest, std::chrono::duration<double>(3600));
      changed_.wait_for(lock, bounded, [this] { return isWoken_ || !finished_.empty(); });
      isWoken_ = false;
      finished.swap(finished_);
    }
    for (auto& [completion, result] : finished) completion(std::move(result));
  }

  void wakeUp() override {
    const std::lock_guard lock(mutex_);
    isWoken_ = true;
    changed_.notify_all();
  }

  // For tests, from any thread.
  void setHandler(Handler handler) {
    const std::lock_guard lock(mutex_);
    handler_ = std::move(handler);
  }
  void prepare(Result result) {
    const std::lock_guard lock(mutex_);
    prepared_.push_back(std::move(result));
  }
  void prepareAnswer(int status, std::string body = {}) {
    prepare(platform::HttpResponse{status, {}, std::move(body)});
  }
  // Answers a request that was left open; false when there is no such.
  bool answer(RequestId request, Result result) {
    const std::lock_guard lock(mutex_);
    return finish(request, std::move(result));
  }
  // All requests so far, in order; the first one has the number 1.
  std::vector<platform::HttpRequest> requests() const {
    const std::lock_guard lock(mutex_);
    return requests_;
  }
  std::size_t openCount() const {
    const std::lock_guard lock(mutex_);
    return open_.size();
  }

 private:
  bool finish(RequestId id, Result result) {
    const auto found = open_.find(id);
    if (found == open_.end()) return false;
    finished_.emplace_back(std::move(found->second), std::move(result));
    open_.erase(found);
    changed_.notify_all();
    return true;
  }

  mutable std::mutex mutex_;
  std::condition_variable changed_;
  bool isWoken_ = false;
  RequestId lastId_ = 0;
  Handler handler_;
  std::map<RequestId, Completion> open_;
  std::vector<std::pair<Completion, Result>> finished_;
  std::deque<Result> prepared_;
  std::vector<platform::HttpRequest> requests_;
};

}  // namespace sorn::tests
