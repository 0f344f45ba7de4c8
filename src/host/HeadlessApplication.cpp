#include "host/HeadlessApplication.h"

#include <utility>

namespace sorn::host {

HeadlessApplication::HeadlessApplication(std::shared_ptr<platform::MainQueue> mainQueue,
                                         std::chrono::duration<double> taskLimit)
    : mainQueue_(std::move(mainQueue)), taskLimit_(taskLimit) {}

platform::Application::BackgroundTask HeadlessApplication::beginBackgroundTask(
    std::string_view, std::function<void()> expired) {
  BackgroundTask task = invalidBackgroundTask;
  {
    const std::lock_guard lock(tasks_->mutex);
    task = ++tasks_->last;
    tasks_->running.emplace(task, std::move(expired));
  }
  mainQueue_->postAfter(taskLimit_, [task, waiting = std::weak_ptr(tasks_)] {
    // The application may be gone by then: the queue keeps delayed work longer.
    const auto tasks = waiting.lock();
    if (!tasks) return;
    std::function<void()> handler;
    {
      const std::lock_guard lock(tasks->mutex);
      const auto found = tasks->running.find(task);
      if (found == tasks->running.end()) return;
      handler = std::move(found->second);
      tasks->running.erase(found);
    }
    if (handler) handler();
  });
  return task;
}

void HeadlessApplication::endBackgroundTask(BackgroundTask task) {
  std::function<void()> unused;  // dies without the lock: what it owns may end another task
  const std::lock_guard lock(tasks_->mutex);
  const auto found = tasks_->running.find(task);
  if (found == tasks_->running.end()) return;
  unused = std::move(found->second);
  tasks_->running.erase(found);
}

}  // namespace sorn::host
