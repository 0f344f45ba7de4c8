#include "facade/Reconciliation.h"

#include <string>

namespace sorn::facade {

namespace {

std::string nameOf(SornMode mode) {
  switch (mode) {
    case SornMode::development:
      return "Development";
    case SornMode::production:
      return "Production";
    case SornMode::undefined:
      break;
  }
  return "Undefined";
}

}  // namespace

void Reconciliation::run(SornMode mode) {
  logger_.log(support::LogLevel::info,
              [&] { return "Starting SORN SDK " + device_.SDKVersion() + ", Mode: " + nameOf(mode); });
  state_.mode = mode;
  sync::StartFindings findings;
  for (sync::StartStep& step : steps_) step.run(findings);
  state_.didStart = true;
}

}  // namespace sorn::facade
