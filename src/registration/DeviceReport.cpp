#include "registration/DeviceReport.h"

#include <tuple>

namespace sorn::registration {

// This report alone does not pass through `pending`: it may go out at each run until one has an answer. What
// the answer says besides is read by the start alone.
void DeviceReport::sendUnsent() {
  if (!sync::unsentStatus(database_.currentApplication()->get(store::SNApplication::device))) return;
  logger_.log(support::LogLevel::warning, "Current device needs to be sent...");
  client_.request(server::Save{}, [this](const server::CallResult& result) {
    std::ignore = records_.deviceStatusUpdate(sync::stateOf(result));
  });
}

}  // namespace sorn::registration
