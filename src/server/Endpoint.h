#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "device/DeviceManager.h"
#include "sorn/platform/Clock.h"
#include "sorn/platform/HttpTransport.h"
#include "store/DBManager.h"
#include "store/entities/SNInboxItem.h"

namespace sorn::server {

// Everything that the library says to its service, one of these at a time. The path stands below the base
// URL.
struct PushTokenUpdate {
  static constexpr std::string_view path = "ios/push/token/update/json";
  std::string token;  // lower-case hexadecimal
};
struct PushEnable {
  static constexpr std::string_view path = "ios/push/enable/json";
  std::uint64_t notificationTypes;
  std::int64_t authorizationStatus;
};
struct PushDisable {
  static constexpr std::string_view path = "ios/push/disable/json";
  std::uint64_t notificationTypes;
  std::int64_t authorizationStatus;
};
struct PreferencesSave {
  static constexpr std::string_view path = "ios/preferences/save/json";
  std::vector<std::string> prefs;
};
struct UserActivate {
  static constexpr std::string_view path = "user/activate/json";
  std::string user;
};
struct UserActivateAnonymous {
  static constexpr std::string_view path = "user/activate-anonymous/json";
  std::string user;
};
struct EventReport {
  static constexpr std::string_view path = "events/report/json";
  platform::HttpBody body;  // the finished document, made piece by piece
};
struct InboxFetch {
  static constexpr std::string_view path = "inbox/fetch/json";
  std::optional<std::string> userID;
  double createdAt;  // seconds since 1970
  std::optional<double> lastAccess;
};
struct InboxDelete {
  static constexpr std::string_view path = "inbox/delete/json";
  std::optional<std::vector<store::Ref<store::SNInboxItem>>> items;
};
struct InboxRead {
  static constexpr std::string_view path = "inbox/read/json";
  std::vector<store::Ref<store::SNInboxItem>> items;
};
struct ReportPlace {
  static constexpr std::string_view path = "events/report-place/json";
  std::string user;
  std::int64_t placeID;
  int direction;                     // position of the `PlaceDirection`
  std::vector<std::int64_t> delays;  // seconds
  std::int64_t distance;             // metres
  std::int64_t accuracy;             // metres
};
struct Save {
  static constexpr std::string_view path = "ios/save/json";
};
struct UserDeactivate {
  static constexpr std::string_view path = "user/deactivate/json";
};
struct LocationRegister {
  static constexpr std::string_view path = "ios/location/register/json";
};
struct LocationUnregister {
  static constexpr std::string_view path = "ios/location/unregister/json";
};

using Endpoint = std::variant<PushTokenUpdate, PushEnable, PushDisable, PreferencesSave, UserActivate,
                              UserActivateAnonymous, EventReport, InboxFetch, InboxDelete, InboxRead,
                              ReportPlace, Save, UserDeactivate, LocationRegister, LocationUnregister>;

// The endpoint's path, which also names it in texts.
std::string_view description(const Endpoint& endpoint);

// What bodies need to know beyond the endpoint's own values.
struct BodySources {
  device::DeviceManager& device;  // asked afresh for each body; makes an identifier when there is none
  store::DBManager& database;
  const platform::Clock& clock;
};

// The JSON body. All keys of an endpoint are always there, absent values as null. Absent when a text is not
// valid UTF-8. Inbox items are read on the queue of their context.
std::optional<platform::HttpBody> bodyOf(Endpoint endpoint, const BodySources& sources);

}  // namespace sorn::server
