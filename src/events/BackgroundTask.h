#pragma once

#include <string_view>

#include "sorn/platform/Application.h"
#include "store/ManagedObjectContext.h"

namespace sorn::events {

// The time that the system grants for the last batch when the application leaves the foreground. All on the
// store's queue. A second one begun while the first is open takes its place; the first ends at its own
// expiry.
class BackgroundTask {
 public:
  static constexpr std::string_view name = "SORN_MAINTAIN_TASK";

  BackgroundTask(store::ManagedObjectContext& context, platform::Application& application)
      : context_(context), application_(application) {}

  void begin();
  // Nothing where none is open.
  void end();

 private:
  store::ManagedObjectContext& context_;
  platform::Application& application_;
  platform::Application::BackgroundTask open_ = platform::Application::invalidBackgroundTask;
};

}  // namespace sorn::events
