#include "users/UserReports.h"

#include <string>
#include <utility>
#include <vector>

#include "documents/Record.h"
#include "store/entities/SNPreferences.h"
#include "support/Fault.h"
#include "support/json/Json.h"

namespace sorn::users {

using server::CallResult;
using store::ServerStatusState;
using store::SNApplication;
using support::LogLevel;

void UserReport::sendUnsent() {
  const store::Ref<store::SNUser> user = database_.currentUser();
  auto status = sync::unsentStatus(user);
  if (!status) return;
  logger_.log(LogLevel::warning, "Active user needs to be sent...");
  status->setStatus(ServerStatusState::pending);
  const std::optional<std::string> userID = user->get(store::SNUser::userID);
  if (!userID) {
    logger_.log(LogLevel::error, "User ID is missing!");
    return;
  }
  // The outcome goes to whoever is the current user by then.
  client_.request(records_.activationOf(*userID),
                  [this](const CallResult& result) { records_.userStatus(sync::stateOf(result)); });
}

// Tags that cannot be read keep their status, so that the line comes again at the next run; tags that are
// JSON of another shape were written by nobody.
void PreferencesReport::sendUnsent() {
  const auto preferences = database_.currentApplication()->get(SNApplication::preferences);
  auto status = sync::unsentStatus(preferences);
  if (!status) return;
  logger_.log(LogLevel::warning, "Preferences needs to be sent...");
  const std::optional<std::string> json = preferences->get(store::SNPreferences::tags);
  if (!json) return;
  const auto document = support::Document::parse(*json, support::Fragments::yes);
  if (!document) {
    logger_.log(LogLevel::error, document.error().description);
    return;
  }
  auto tags = documents::decodeValue<std::vector<std::string>>(document->root());
  if (!tags) support::fault("stored tags that are a list of texts");
  status->setStatus(ServerStatusState::pending);
  client_.request(server::PreferencesSave{*std::move(tags)}, [this, preferences](const CallResult& result) {
    sync::applyResult(database_.context(), preferences, result);
  });
}

}  // namespace sorn::users
