#include "store/DBManager.h"
#include "store/DeviceRecord.h"
#include "store/entities/SNEvent.h"
#include "store/entities/SNInboxItem.h"
#include "store/entities/SNLocations.h"
#include "store/entities/SNPreferences.h"
#include "store/entities/SNPushGateway.h"
#include "support/json/Json.h"
#include "support/json/JsonWriter.h"

namespace sorn::store {

using support::LogLevel;

// Gives the record a status record if it has none.
bool DBManager::setStatus(const Ref<ManagedObject>& owner, ServerStatusState state) {
  SNServerStatus::findOrCreate(owner).setStatus(state);
  return saveContext();
}

bool DBManager::deviceSynchronisation(const documents::DeviceInfo& info) {
  return context_.performBlockAndWait([&] {
    const std::string entityID = info.entity_id ? *info.entity_id : handlers_.makeIdentifier();
    const Ref<SNDevice> device = context_.findOrCreate<SNDevice>(assign(SNDevice::entityID, entityID));
    copyDeviceInfo(info, *device);
    device->set(SNDevice::entityID, entityID);
    SNServerStatus::findOrCreate(device).setStatus(ServerStatusState::pending);
    currentApplication()->set(SNApplication::device, device);
    return saveContext();
  });
}

bool DBManager::deviceStatusUpdate(ServerStatusState state) {
  return context_.performBlockAndWait([&] {
    const Ref<SNDevice> device = currentApplication()->get(SNApplication::device);
    return device && setStatus(device, state);
  });
}

bool DBManager::deviceCreatedAtStore(double secondsSince1970) {
  return context_.performBlockAndWait([&] {
    const Ref<SNDevice> device = currentApplication()->get(SNApplication::device);
    if (device) device->set(SNDevice::createdAt, dateSince1970(secondsSince1970));
    return saveContext();
  });
}

bool DBManager::userActivation(const std::optional<std::string>& userID) {
  if (!userID) return false;
  return context_.performBlockAndWait([&] {
    const Ref<SNApplication> application = currentApplication();
    const Ref<SNUser> user = context_.findOrCreate<SNUser>(assign(SNUser::userID, *userID),
                                                           assign(SNUser::application, application));
    if (!SNServerStatus::of(user)) user->set(SNUser::lastInboxAccess, dateSince1970(0));
    SNServerStatus::findOrCreate(user).setStatus(ServerStatusState::pending);
    user->set(SNUser::application, application);
    application->set(SNApplication::activeUser, user);
    return saveContext();
  });
}

bool DBManager::loginDefaultUser() {
  logger_.log(LogLevel::info, "Logging in default user...");
  return userActivation(defaultUserID());
}

bool DBManager::userStatus(ServerStatusState state) {
  return context_.performBlockAndWait([&] {
    const Ref<SNUser> user = currentUser();
    return user && setStatus(user, state);
  });
}

bool DBManager::pushTokenStore(std::string_view token, ServerStatusState state) {
  return context_.performBlockAndWait([&] {
    const Ref<SNApplication> application = currentApplication();
    const auto gateway =
        context_.findOrCreate<SNPushGateway>(assign(SNPushGateway::application, application));
    gateway->set(SNPushGateway::token, token);
    application->set(SNApplication::pushGateway, gateway);
    return setStatus(gateway, state);
  });
}

bool DBManager::pushGatewayUpdate(std::int64_t notificationTypes, std::int64_t authorizationStatus,
                                  ServerStatusState state) {
  return context_.performBlockAndWait([&] {
    const Ref<SNApplication> application = currentApplication();
    const auto gateway =
        context_.findOrCreate<SNPushGateway>(assign(SNPushGateway::application, application));
    gateway->set(SNPushGateway::notificationTypes, notificationTypes);
    gateway->set(SNPushGateway::authorizationStatus, authorizationStatus);
    application->set(SNApplication::pushGateway, gateway);
    return setStatus(gateway, state);
  });
}

bool DBManager::preferencesStore(const std::vector<std::string>& tags, ServerStatusState state) {
  std::string json;
  support::Writer writer(json);
  writer.beginArray();
  for (const std::string& tag : tags) writer.text(tag);
  writer.endArray();
  if (!writer.isValid()) {
    logger_.log(LogLevel::error,
                [&] { return "Error while serializing tags: " + json + " to JSON. Aborting..."; });
    return false;
  }
  return context_.performBlockAndWait([&] {
    const Ref<SNApplication> application = currentApplication();
    const auto preferences =
        context_.findOrCreate<SNPreferences>(assign(SNPreferences::application, application));
    preferences->set(SNPreferences::tags, json);
    application->set(SNApplication::preferences, preferences);
    return setStatus(preferences, state);
  });
}

std::optional<std::vector<std::string>> DBManager::preferencesRead() {
  const std::optional<std::string> json = context_.performBlockAndWait([&]() -> std::optional<std::string> {
    const Ref<SNPreferences> preferences = currentApplication()->get(SNApplication::preferences);
    return preferences ? preferences->get(SNPreferences::tags) : std::nullopt;
  });
  if (!json) return std::nullopt;
  std::vector<std::string> tags;
  documents::DecodingFailure failure;
  const auto document = support::Document::parse(*json, support::Fragments::yes);
  if (!document || !documents::ValueForm<std::vector<std::string>>::decode(document->root(), tags, failure)) {
    logger_.log(LogLevel::error, "Could not retrieve stored preferences");
    return std::nullopt;
  }
  return tags;
}

bool DBManager::locationsUpdate(bool enabled) {
  return context_.performBlockAndWait([&] {
    const Ref<SNApplication> application = currentApplication();
    const auto locations = context_.findOrCreate<SNLocations>(assign(SNLocations::application, application));
    locations->set(SNLocations::enabled, enabled);
    application->set(SNApplication::locations, locations);
    return setStatus(locations, ServerStatusState::isFalse);
  });
}

bool DBManager::deleteLocalRecords() {
  return context_.performBlockAndWait([&] {
    for (const auto& event : context_.fetchRecords<SNEvent>(isAbsent(SNEvent::category))) {
      context_.deleteObject(*event);
    }
    for (const auto& item : context_.fetchRecords<SNInboxItem>(isAbsent(SNInboxItem::category))) {
      context_.deleteObject(*item);
    }
    return saveContext();
  });
}

}  // namespace sorn::store
