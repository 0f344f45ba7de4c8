#include "users/Users.h"

#include <set>
#include <utility>

#include "sorn/SornError.h"
#include "store/entities/SNPreferences.h"
#include "support/Fault.h"
#include "sync/Report.h"

namespace sorn::users {

using documents::EventAction;
using server::CallResult;
using store::ServerStatusState;
using store::SNApplication;
using store::SNServerStatus;
using store::SNUser;
using support::LogLevel;

Users::Users(store::DBManager& database, UserRecords& records, server::APIClient& client,
             support::Tasks& tasks, support::Logger& logger, sync::EventRecorder& recorder)
    : database_(database),
      records_(records),
      client_(client),
      tasks_(tasks),
      logger_(logger),
      recorder_(recorder) {}

std::string Users::defaultUser() {
  std::optional<std::string> id = records_.defaultUserID();
  if (!id) support::fault("a device identifier with an application key");
  return *std::move(id);
}

void Users::loginUser(const std::string& id, Completion completion) {
  logger_.log(LogLevel::info, [&] { return "Attempting to login user: " + id; });
  const auto complete = [this](Completion answer, const std::exception_ptr& error) {
    if (answer) tasks_.post([answer = std::move(answer), error] { answer(error); });
  };
  if (id.size() >= maxUserIDLength) {
    const SornError error = SornError::maxUserIDReached(id.size(), maxUserIDLength);
    logger_.log(error, support::Forced::yes);
    complete(std::move(completion), std::make_exception_ptr(error));
    return;
  }
  database_.context().performBlock([this, id, complete, completion = std::move(completion)] {
    const store::Ref<SNUser> active = database_.currentUser();
    const auto status = SNServerStatus::of(active);
    const bool isLoggedIn = active && active->get(SNUser::userID) == id && status && status->status() == 1;
    if (isLoggedIn) {
      logger_.log(LogLevel::info, [&] { return "User " + id + " already logged in. Nothing to do..."; });
    } else {
      login(id);
    }
    complete(completion, nullptr);
  });
}

void Users::login(const std::string& id) {
  records_.userActivation(id);
  activateAtServer(id);
  recorder_.record({.action = EventAction::login});
}

void Users::activateAtServer(const std::string& id) {
  client_.request(records_.activationOf(id),
                  [this, user = database_.currentUser()](const CallResult& result) {
                    sync::applyResult(database_.context(), user, result);
                  });
}

void Users::logoutUser() {
  database_.context().performBlock([this] { logout(); });
}

// There is no event for leaving: a logout reports itself as a login of the default user.
void Users::logout() {
  const store::Ref<SNUser> active = database_.currentUser();
  const auto status = SNServerStatus::of(active);
  const auto userID = active ? active->get(SNUser::userID) : std::nullopt;
  if (status && status->status() == 1 && records_.isDefaultUser(userID)) {
    logger_.log(LogLevel::info, [&] { return "User " + *userID + " already logged out. Nothing to do..."; });
    return;
  }
  records_.loginDefaultUser();
  const store::Ref<SNUser> user = database_.currentUser();
  const auto activatedID = user ? user->get(SNUser::userID) : std::nullopt;
  if (!activatedID) {
    logger_.log(LogLevel::error, "Could not create a default user");
    return;
  }
  activateAtServer(*activatedID);
  recorder_.record({.action = EventAction::login});
}

void Users::registerPreferences(const std::vector<std::string>& tags) {
  const auto refuse = [this](const SornError& error) {
    logger_.log(error, support::Forced::yes);
    throw error;
  };
  if (tags.size() > maxTags) refuse(SornError::maxTagsReached(tags.size(), maxTags));
  for (const std::string& tag : tags) {
    if (tag.size() > maxTagLength) refuse(SornError::maxTagLengthReached(tag));
  }
  if (hasTags(tags)) {
    logger_.log(LogLevel::info, "Already got these prefs. Nothing to do...");
    return;
  }
  records_.preferencesStore(tags, ServerStatusState::pending);
  client_.request(server::PreferencesSave{tags}, [this, tags](const CallResult& result) {
    records_.preferencesStore(tags, sync::stateOf(result));
  });
}

bool Users::hasTags(const std::vector<std::string>& tags) {
  const auto stored = records_.preferencesRead();
  const bool isAccepted = database_.context().performBlockAndWait([this] {
    const auto status = SNServerStatus::of(database_.currentApplication()->get(SNApplication::preferences));
    return status && status->status() == 1;
  });
  return isAccepted && stored &&
         std::set<std::string>(stored->begin(), stored->end()) ==
             std::set<std::string>(tags.begin(), tags.end());
}

}  // namespace sorn::users
