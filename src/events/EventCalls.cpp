#include "events/EventCalls.h"

#include <memory>

#include "events/EventValidation.h"
#include "sorn/SornError.h"

namespace sorn::events {

using support::Forced;
using sync::EventData;

void EventCalls::refuse(const SornError& error) {
  logger_.log(error, Forced::yes);
  throw SornError(error);
}

void EventCalls::requireUsageReports() {
  if (configuration_.isEnabled(&documents::Features::reportUsage, true)) return;
  refuse(SornError::plain(SornError::Code::featureNotEnabled));
}

void EventCalls::logEventWith(std::string_view category, std::string_view action,
                              const std::optional<Dictionary>& data) {
  requireUsageReports();
  try {
    validateEventNames(category, action);
  } catch (const SornError& error) {
    refuse(error);
  }
  EventData typed;
  try {
    if (data) appendExtraData(*data, typed);
  } catch (const SornError& error) {
    // The exact reason is in the log alone; the host gets the general one.
    logger_.log(error, Forced::yes);
    throw SornError::plain(SornError::Code::invalidExtraData);
  }
  recorder_.record({.category = category, .action = action, .data = &typed});
}

void EventCalls::logScreenWithName(const std::string& name, const std::optional<Dictionary>& data) {
  requireUsageReports();
  try {
    auto typed = std::make_shared<const EventData>(
        screenData(name, data ? &*data : nullptr, application_.orientation()));
    context_.performBlock([this, typed] {
      recorder_.record({.action = documents::EventAction::screenOpened, .data = typed.get()});
    });
  } catch (const SornError& error) {
    refuse(error);
  }
}

// A key that is fixed is refused before any value is looked at. Unlike with a host's own event, the exact
// reason for a refused value is told only where logging is on.
void EventCalls::logReserved(std::string_view category, std::string_view action, const Dictionary& fixed,
                             const std::optional<Dictionary>& extra) {
  requireUsageReports();
  Dictionary data = fixed;
  if (extra) {
    for (const auto& [key, value] : *extra) {
      if (!data.emplace(key, value).second) refuse(SornError::invalidExtraValue(key));
    }
  }
  EventData typed;
  try {
    appendExtraData(data, typed);
  } catch (const SornError& error) {
    logger_.log(error, Forced::no);
    throw SornError::plain(SornError::Code::invalidExtraData);
  }
  recorder_.record({.category = category, .action = action, .data = &typed});
}

}  // namespace sorn::events
