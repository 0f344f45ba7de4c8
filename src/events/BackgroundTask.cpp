#include "events/BackgroundTask.h"

#include <memory>

namespace sorn::events {

using platform::Application;

// Within a turn of the queue: the time may be over at once, and the expiry's block then still finds the
// number.
void BackgroundTask::begin() {
  const auto begun = std::make_shared<Application::BackgroundTask>(Application::invalidBackgroundTask);
  *begun = application_.beginBackgroundTask(name, [this, begun] {
    context_.performBlock([this, begun] {
      application_.endBackgroundTask(*begun);
      open_ = Application::invalidBackgroundTask;
    });
  });
  open_ = *begun;
}

void BackgroundTask::end() {
  if (open_ == Application::invalidBackgroundTask) return;
  application_.endBackgroundTask(open_);
  open_ = Application::invalidBackgroundTask;
}

}  // namespace sorn::events
