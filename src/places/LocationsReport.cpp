#include "places/LocationsReport.h"

#include <utility>

namespace sorn::places {

void LocationsReport::sendUnsent() {
  const auto locations = records_.locations();
  auto status = sync::unsentStatus(locations);
  if (!status) return;
  logger_.log(support::LogLevel::warning, "Locations preferences needs to be sent...");
  status->setStatus(store::ServerStatusState::pending);
  server::Endpoint endpoint = server::LocationUnregister{};
  if (locations->get(store::SNLocations::enabled)) endpoint = server::LocationRegister{};
  client_.request(std::move(endpoint), [this, locations](const server::CallResult& result) {
    sync::applyResult(context_, locations, result);
  });
}

}  // namespace sorn::places
