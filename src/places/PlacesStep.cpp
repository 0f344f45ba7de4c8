#include "places/PlacesStep.h"

namespace sorn::places {

using support::LogLevel;

void PlacesStep::run(sync::StartFindings& /*findings*/) {
  if (!records_.isEnabled()) {
    logger_.log(LogLevel::info, "Places preference is disabled...");
    return;
  }
  logger_.log(LogLevel::info, "Places preference is enabled...");
  if (!configuration_.isEnabled(&documents::Features::macroLocation, false)) {
    logger_.log(LogLevel::warning, "Places feature is disabled in your account");
    return;
  }
  // They go into the store; that is all there is to do with them so far.
  published_.fetchActivePlaces([] {});
}

}  // namespace sorn::places
