#include "users/UserRecords.h"

#include "documents/Record.h"
#include "store/entities/SNPreferences.h"
#include "support/Uuid.h"
#include "support/json/Json.h"
#include "support/json/JsonWriter.h"

namespace sorn::users {

using store::ServerStatusState;
using store::SNApplication;
using store::SNPreferences;
using store::SNServerStatus;
using store::SNUser;
using support::LogLevel;

std::optional<std::string> UserRecords::defaultUserID() {
  const std::optional<std::string> identifier = database_.entityIdentifier();
  // The length is that of a fresh one: an identifier that is no longer has no application key before it.
  const std::size_t length = support::makeUuid().size();
  if (!identifier || identifier->size() <= length) return std::nullopt;
  return identifier->substr(identifier->size() - length);
}

void UserRecords::userActivation(const std::string& userID) {
  store::ManagedObjectContext& context = database_.context();
  context.performBlockAndWait([&] {
    const store::Ref<SNApplication> application = database_.currentApplication();
    const auto user = context.findOrCreate<SNUser>(store::assign(SNUser::userID, userID),
                                                   store::assign(SNUser::application, application));
    if (!SNServerStatus::of(user)) user->set(SNUser::lastInboxAccess, dateSince1970(0));
    SNServerStatus::findOrCreate(user).setStatus(ServerStatusState::pending);
    user->set(SNUser::application, application);
    application->set(SNApplication::activeUser, user);
    context.saveNowOrLater();
  });
}

void UserRecords::loginDefaultUser() {
  logger_.log(LogLevel::info, "Logging in default user...");
  if (const auto id = defaultUserID()) userActivation(*id);
}

void UserRecords::userStatus(ServerStatusState state) {
  database_.context().performBlockAndWait([&] {
    const store::Ref<SNUser> user = database_.currentUser();
    if (!user) return;
    SNServerStatus::findOrCreate(user).setStatus(state);
    database_.context().saveNowOrLater();
  });
}

server::Endpoint UserRecords::activationOf(const std::string& userID) {
  if (isDefaultUser(userID)) return server::UserActivateAnonymous{userID};
  return server::UserActivate{userID};
}

void UserRecords::preferencesStore(const std::vector<std::string>& tags, ServerStatusState state) {
  std::string json;
  support::Writer writer(json);
  writer.beginArray();
  for (const std::string& tag : tags) writer.text(tag);
  writer.endArray();
  if (!writer.isValid()) {
    logger_.log(LogLevel::error,
                [&] { return "Error while serializing tags: " + json + " to JSON. Aborting..."; });
    return;
  }
  store::ManagedObjectContext& context = database_.context();
  context.performBlockAndWait([&] {
    const store::Ref<SNApplication> application = database_.currentApplication();
    const auto preferences =
        context.findOrCreate<SNPreferences>(store::assign(SNPreferences::application, application));
    preferences->set(SNPreferences::tags, json);
    application->set(SNApplication::preferences, preferences);
    SNServerStatus::findOrCreate(preferences).setStatus(state);
    context.saveNowOrLater();
  });
}

std::optional<std::vector<std::string>> UserRecords::preferencesRead() {
  const auto json = database_.context().performBlockAndWait([this]() -> std::optional<std::string> {
    const auto preferences = database_.currentApplication()->get(SNApplication::preferences);
    return preferences ? preferences->get(SNPreferences::tags) : std::nullopt;
  });
  if (!json) return std::nullopt;
  if (const auto document = support::Document::parse(*json, support::Fragments::yes)) {
    if (auto tags = documents::decodeValue<std::vector<std::string>>(document->root()))
      return *std::move(tags);
  }
  logger_.log(LogLevel::error, "Could not retrieve stored preferences");
  return std::nullopt;
}

}  // namespace sorn::users
