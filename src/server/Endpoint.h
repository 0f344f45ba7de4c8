#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "documents/DeviceInfo.h"
#include "sorn/platform/Clock.h"
#include "sorn/platform/HttpTransport.h"
#include "store/entities/SNInboxItem.h"

namespace sorn::server {

// Everything that the library says to its service, one of these at a time.
struct PushTokenUpdate {
  std::string token;  // lower-case hexadecimal
};
struct PushEnable {
  std::uint64_t notificationTypes;
  std::int64_t authorizationStatus;
};
struct PushDisable {
  std::uint64_t notificationTypes;
  std::int64_t authorizationStatus;
};
struct PreferencesSave {
  std::vector<std::string> prefs;
};
struct UserActivate {
  std::string user;
};
struct UserActivateAnonymous {
  std::string user;
};
struct EventReport {
  platform::HttpBody body;  // the finished document, made piece by piece
};
struct InboxFetch {
  std::optional<std::string> userID;
  double createdAt;  // seconds since 1970
  std::optional<double> lastAccess;
};
struct InboxDelete {
  std::optional<std::vector<store::Ref<store::SNInboxItem>>> items;
};
struct InboxRead {
  std::vector<store::Ref<store::SNInboxItem>> items;
};
struct ReportPlace {
  std::string user;
  std::int64_t placeID;
  int direction;                     // position of the `PlaceDirection`
  std::vector<std::int64_t> delays;  // seconds
  std::int64_t distance;             // metres
  std::int64_t accuracy;             // metres
};
struct Save {};
struct UserDeactivate {};
struct LocationRegister {};
struct LocationUnregister {};

using Endpoint = std::variant<PushTokenUpdate, PushEnable, PushDisable, PreferencesSave, UserActivate,
                              UserActivateAnonymous, EventReport, InboxFetch, InboxDelete, InboxRead,
                              ReportPlace, Save, UserDeactivate, LocationRegister, LocationUnregister>;

// The path below the base URL, which also names the endpoint in texts.
std::string_view description(const Endpoint& endpoint);

// What bodies need to know beyond the endpoint's own values.
struct BodySources {
  std::function<std::string()> entityIdentifier;  // read afresh for each body, made when there is none
  std::function<documents::DeviceInfo()> deviceInfo;
  std::function<std::vector<std::string>()> otherEntityIds;
  const platform::Clock& clock;
};

// The JSON body. All keys of an endpoint are always there, absent values as null. Absent when a text is not
// valid UTF-8. Inbox items are read on the queue of their context.
std::optional<platform::HttpBody> bodyOf(Endpoint endpoint, const BodySources& sources,
                                         store::ManagedObjectContext& context);

}  // namespace sorn::server
