#include "sorn-emulator/Control.h"

#include <array>
#include <optional>
#include <stdexcept>

#include <nlohmann/json.hpp>

#include "sorn-emulator/Core.h"
#include "sorn-emulator/JsonText.h"

namespace sorn::emulator {

namespace {

using nlohmann::json;

constexpr std::string_view prefix = "/emulator/";

HttpAnswer done() { return jsonAnswer(200, R"({"ok":true})"); }

HttpAnswer wrong(int status, const std::string& reason) {
  return jsonAnswer(status, jsonText(json{{"ok", false}, {"error", reason}}));
}

HttpAnswer getState(Core& core, const HttpRequest&) { return jsonAnswer(200, jsonText(core.state())); }

HttpAnswer getEvents(Core& core, const HttpRequest&) {
  std::string list = "[";
  for (const auto& event : core.service.events()) {
    if (list.size() > 1) list += ',';
    list += event;
  }
  return jsonAnswer(200, list + ']');
}

std::optional<std::string> queryValue(const HttpRequest& request, std::string_view name) {
  for (auto& [key, value] : queryItems(request.query)) {
    if (key == name) return value;
  }
  return std::nullopt;
}

HttpAnswer publish(Core& core, const HttpRequest& request, Document document) {
  core.publications.publish(document, request.body, queryValue(request, "etag"),
                            queryValue(request, "timestamp"));
  return done();
}

HttpAnswer postCampaigns(Core& core, const HttpRequest& request) {
  return publish(core, request, Document::campaigns);
}

HttpAnswer postPlaces(Core& core, const HttpRequest& request) {
  return publish(core, request, Document::places);
}

HttpAnswer postConfiguration(Core& core, const HttpRequest& request) {
  core.setConfiguration(request.body);
  return done();
}

HttpAnswer postInbox(Core& core, const HttpRequest& request) {
  core.setInbox(request.body);
  return done();
}

HttpAnswer postPush(Core& core, const HttpRequest& request) {
  core.addPush(request.body);
  return done();
}

HttpAnswer postFaults(Core& core, const HttpRequest& request) {
  core.faults.replace(request.body);
  return done();
}

HttpAnswer postReset(Core& core, const HttpRequest&) {
  core.reset();
  return done();
}

struct Route {
  std::string_view method;
  std::string_view name;
  HttpAnswer (*handle)(Core&, const HttpRequest&);
};

constexpr std::array<Route, 9> routes{{
    {"GET", "state", &getState},
    {"GET", "events", &getEvents},
    {"POST", "campaigns", &postCampaigns},
    {"POST", "places", &postPlaces},
    {"POST", "configuration", &postConfiguration},
    {"POST", "inbox", &postInbox},
    {"POST", "push", &postPush},
    {"POST", "faults", &postFaults},
    {"POST", "reset", &postReset},
}};

}  // namespace

bool isControlCall(std::string_view path) { return path.starts_with(prefix); }

HttpAnswer answerToControl(Core& core, const HttpRequest& request) {
  const auto name = std::string_view(request.path).substr(prefix.size());
  for (const auto& route : routes) {
    if (route.name != name) continue;
    if (route.method != request.method)
      return wrong(405, "this call is made with " + std::string(route.method));
    try {
      return route.handle(core, request);
    } catch (const std::invalid_argument& error) {
      return wrong(400, error.what());
    }
  }
  return wrong(404, "there is no such control call");
}

}  // namespace sorn::emulator
