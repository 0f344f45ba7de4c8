#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "server/ConfigurationStore.h"
#include "sorn/Value.h"
#include "sorn/platform/Application.h"
#include "store/ManagedObjectContext.h"
#include "support/Logger.h"
#include "sync/EventRecorder.h"

namespace sorn::events {

// What a host reports: checked on its own thread, then recorded. Any thread. Refusals are logged and thrown
// as `SornError`, and leave no trace.
class EventCalls {
 public:
  EventCalls(store::ManagedObjectContext& context, server::ConfigurationStore& configuration,
             const platform::Application& application, support::Logger& logger, sync::EventRecorder& recorder)
      : context_(context),
        configuration_(configuration),
        application_(application),
        logger_(logger),
        recorder_(recorder) {}

  // Returns when the event is stored.
  void logEventWith(std::string_view category, std::string_view action,
                    const std::optional<Dictionary>& data);
  // Returns before that.
  void logScreenWithName(const std::string& name, const std::optional<Dictionary>& data);
  // An event with a category and an action of the library's own. The host's extra data may not touch the
  // fixed one.
  void logReserved(std::string_view category, std::string_view action, const Dictionary& fixed,
                   const std::optional<Dictionary>& extra);

 private:
  void requireUsageReports();
  [[noreturn]] void refuse(const SornError& error);

  store::ManagedObjectContext& context_;
  server::ConfigurationStore& configuration_;
  const platform::Application& application_;
  support::Logger& logger_;
  sync::EventRecorder& recorder_;
};

}  // namespace sorn::events
