#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string_view>

#include "sorn/platform/Application.h"
#include "sorn/platform/MainQueue.h"

namespace sorn::host {

// The application of a host without windows: always allowed to refresh, with no orientation. Nothing suspends
// it in the background, but its tasks expire, so that no work counts as running for ever. Any thread.
class HeadlessApplication final : public platform::Application {
 public:
  static constexpr std::chrono::seconds usualTaskLimit{30};

  // Expiry handlers run on the main queue, after this time.
  explicit HeadlessApplication(std::shared_ptr<platform::MainQueue> mainQueue,
                               std::chrono::duration<double> taskLimit = usualTaskLimit);

  int backgroundRefreshStatus() const override { return 2; }
  int orientation() const override { return 0; }
  BackgroundTask beginBackgroundTask(std::string_view name, std::function<void()> expired) override;
  void endBackgroundTask(BackgroundTask task) override;

 private:
  // Outlives the application when the queue still holds a time limit.
  struct Tasks {
    std::mutex mutex;
    std::map<BackgroundTask, std::function<void()>> running;
    BackgroundTask last = invalidBackgroundTask;
  };

  const std::shared_ptr<platform::MainQueue> mainQueue_;
  const std::chrono::duration<double> taskLimit_;
  const std::shared_ptr<Tasks> tasks_ = std::make_shared<Tasks>();
};

}  // namespace sorn::host
