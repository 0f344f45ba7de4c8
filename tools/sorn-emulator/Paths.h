#pragma once

// What a request's path asks for: one of the service's calls, a published file, or something unknown.

#include <optional>
#include <string>
#include <string_view>

namespace sorn::emulator {

enum class Endpoint {
  pushTokenUpdate,
  pushEnable,
  pushDisable,
  preferencesSave,
  userActivate,
  userActivateAnonymous,
  eventReport,
  inboxFetch,
  inboxDelete,
  inboxRead,
  reportPlace,
  save,
  userDeactivate,
  locationRegister,
  locationUnregister,
};

enum class Document { campaigns, places };

struct PublishedFile {
  Document document = Document::campaigns;
  std::string applicationKey;
};

// Whether `path` is `ending` or ends in "/" and `ending`. A slash before `ending` makes no difference.
bool endsIn(std::string_view path, std::string_view ending);

// The call behind a path; what stands before the call's own path is the prefix of somebody's base URL.
std::optional<Endpoint> endpointAt(std::string_view path);

// "/BUCKET/inapp/public/KEY/active.json.gz" and "/BUCKET/places/KEY/active_places.json.gz".
std::optional<PublishedFile> publishedFileAt(std::string_view path);

}  // namespace sorn::emulator
