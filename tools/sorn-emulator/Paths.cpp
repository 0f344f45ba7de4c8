#include "sorn-emulator/Paths.h"

#include <array>
#include <utility>
#include <vector>

#include "sorn-emulator/Encoding.h"

namespace sorn::emulator {

namespace {

constexpr std::array<std::pair<std::string_view, Endpoint>, 15> endpoints{{
    {"ios/push/token/update/json", Endpoint::pushTokenUpdate},
    {"ios/push/enable/json", Endpoint::pushEnable},
    {"ios/push/disable/json", Endpoint::pushDisable},
    {"ios/preferences/save/json", Endpoint::preferencesSave},
    {"user/activate/json", Endpoint::userActivate},
    {"user/activate-anonymous/json", Endpoint::userActivateAnonymous},
    {"events/report/json", Endpoint::eventReport},
    {"inbox/fetch/json", Endpoint::inboxFetch},
    {"inbox/delete/json", Endpoint::inboxDelete},
    {"inbox/read/json", Endpoint::inboxRead},
    {"events/report-place/json", Endpoint::reportPlace},
    {"ios/save/json", Endpoint::save},
    {"user/deactivate/json", Endpoint::userDeactivate},
    {"ios/location/register/json", Endpoint::locationRegister},
    {"ios/location/unregister/json", Endpoint::locationUnregister},
}};

std::vector<std::string_view> segmentsOf(std::string_view path) {
  std::vector<std::string_view> segments;
  while (path.starts_with('/')) {
    path.remove_prefix(1);
    segments.push_back(path.substr(0, path.find('/')));
    path.remove_prefix(segments.back().size());
  }
  return segments;
}

}  // namespace

bool endsIn(std::string_view path, std::string_view ending) {
  if (ending.starts_with('/')) ending.remove_prefix(1);
  if (!path.ends_with(ending)) return false;
  return path.size() == ending.size() || path[path.size() - ending.size() - 1] == '/';
}

std::optional<Endpoint> endpointAt(std::string_view path) {
  for (const auto& [ending, endpoint] : endpoints) {
    if (endsIn(path, ending)) return endpoint;
  }
  return std::nullopt;
}

std::optional<PublishedFile> publishedFileAt(std::string_view path) {
  const auto segments = segmentsOf(path);
  if (segments.size() < 4 || segments[0].empty()) return std::nullopt;
  if (segments.size() == 5 && segments[1] == "inapp" && segments[2] == "public" &&
      segments[4] == "active.json.gz") {
    return PublishedFile{Document::campaigns, percentDecoded(segments[3])};
  }
  if (segments.size() == 4 && segments[1] == "places" && segments[3] == "active_places.json.gz") {
    return PublishedFile{Document::places, percentDecoded(segments[2])};
  }
  return std::nullopt;
}

}  // namespace sorn::emulator
