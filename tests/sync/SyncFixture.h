#pragma once

#include <string>
#include <vector>

#include "fakes/ServiceFixture.h"
#include "store/entities/SNEvent.h"

namespace sorn::sync {

using documents::EventType;

inline constexpr const char* report = "events/report/json";

// The actions of the events of a report, in its order.
inline std::vector<std::string> actionsOf(const nlohmann::json& body) {
  std::vector<std::string> actions;
  for (const auto& event : body["events"]) actions.push_back(event["action"]);
  return actions;
}

// A library that records events in batches of ten, over a service that answers when the test says so.
class SyncFixture : public tests::ServiceFixture {
 protected:
  SyncFixture() {
    hold(report);
    configure("", 10, 10);
    launch();
  }

  void record(const std::string& action, EventType type = EventType::app_usage) {
    library_->services().recorder.record({.type = type, .action = action});
  }
  void recordMany(int count) {
    for (int index = 0; index < count; ++index) record(std::to_string(index));
  }
  // The reports of this run, once all that was set going has come to its end.
  std::vector<nlohmann::json> reports() {
    settle();
    return calls(report);
  }
  std::size_t countOf(std::int64_t status) {
    return run([&] {
      return library_->context().count(store::SNEvent::entity(), store::SNEvent::status == status);
    });
  }
};

}  // namespace sorn::sync
