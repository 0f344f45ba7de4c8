#include "sorn-emulator/Service.h"

#include "sorn-emulator/Brackets.h"
#include "sorn-emulator/Encoding.h"
#include "sorn-emulator/JsonText.h"

namespace sorn::emulator {

namespace {

using nlohmann::json;

// What an account has from the beginning: everything on, and the batches of an account without settings.
json usualConfiguration() {
  return {{"features", {{"push", true}, {"report_usage", true}, {"macro_location", true}, {"inapp", true}}},
          {"events_options", {{"batch_timeout", 10}, {"batch_size", 10}}}};
}

std::string textAt(const json& object, const char* key) {
  const auto member = object.find(key);
  return member != object.end() && member->is_string() ? member->get<std::string>() : std::string();
}

json member(const json& object, const char* key) { return object.contains(key) ? object[key] : json(); }

HttpAnswer refusal(const std::string& reason) { return jsonAnswer(400, jsonText(json{{"error", reason}})); }

}  // namespace

std::size_t objectsInReport(std::string_view body) {
  std::size_t count = 0;
  eachOpeningBracket(body, [&](char bracket, int level) {
    if (level == 3 && bracket == '{') ++count;
  });
  return count;
}

Service::Service(bool lightMode) : lightMode_(lightMode) { clear(); }

void Service::clear() {
  const std::lock_guard lock(mutex_);
  configuration_ = usualConfiguration();
  for (auto* byDevice : {&devices_, &users_, &tags_, &registrations_, &locations_})
    *byDevice = json::object();
  crossings_ = json::array();
  pushes_ = json::array();
  mailbox_ = {};
  events_.clear();
  eventCount_ = 0;
}

HttpAnswer Service::call(Endpoint endpoint, const std::string& body) {
  if (lightMode_ && endpoint == Endpoint::eventReport) {
    countEvents(objectsInReport(body));
    return jsonAnswer(200, "{}");
  }
  const auto parsed = parsedJson(body);
  if (!parsed || !parsed->is_object()) return refusal("the body is no JSON object");
  if (endpoint == Endpoint::eventReport) {
    const auto events = parsed->find("events");
    if (events != parsed->end() && !events->is_array()) return refusal("\"events\" is no list");
    if (events != parsed->end()) takeEvents(*events);
    return jsonAnswer(200, "{}");
  }
  const std::lock_guard lock(mutex_);
  return jsonAnswer(200, jsonText(answerTo(endpoint, *parsed)));
}

json Service::answerTo(Endpoint endpoint, const json& body) {
  const auto device = textAt(body, "entity_id");
  switch (endpoint) {
    case Endpoint::pushTokenUpdate:
      registrations_[device]["push_id"] = member(body, "push_id");
      break;
    case Endpoint::pushEnable:
    case Endpoint::pushDisable:
      registerForPush(body, endpoint == Endpoint::pushEnable);
      break;
    case Endpoint::preferencesSave:
      tags_[device] = member(body, "tags");
      break;
    case Endpoint::userActivate:
    case Endpoint::userActivateAnonymous:
      users_[device] = {{"user_id", member(body, "user_id")},
                        {"anonymous", endpoint == Endpoint::userActivateAnonymous}};
      break;
    case Endpoint::userDeactivate:
      users_.erase(device);
      break;
    case Endpoint::locationRegister:
    case Endpoint::locationUnregister:
      locations_[device] = endpoint == Endpoint::locationRegister;
      break;
    case Endpoint::reportPlace:
      crossings_.push_back(body);
      break;
    case Endpoint::inboxFetch:
      return answerToInboxFetch(body);
    case Endpoint::inboxDelete:
      return {{"deleted", mailbox_.report(member(body, "deleted"), "deletedAt")}};
    case Endpoint::inboxRead:
      return {{"read", mailbox_.report(member(body, "read"), "readAt")}};
    case Endpoint::save:
      return answerToSave(body);
    case Endpoint::eventReport:
      break;  // taken in before, by the caller
  }
  return json::object();
}

void Service::registerForPush(const json& body, bool enabled) {
  auto& registration = registrations_[textAt(body, "entity_id")];
  registration["enabled"] = enabled;
  registration["authorization_status"] = member(body, "authorization_status");
  registration["notification_types"] = member(body, "notification_types");
}

json Service::answerToSave(const json& document) {
  auto& device = devices_[textAt(document, "entity_id")];
  const json createdAt = device.is_object() ? device["createdAt"] : json(now());
  device = document;
  device["createdAt"] = createdAt;
  json answer = {{"createdAt", createdAt}};
  if (!configuration_.is_null()) answer["configuration"] = configuration_;
  return answer;
}

json Service::answerToInboxFetch(const json& body) const {
  const double serverTime = now();
  const Mailbox::Caller caller{textAt(body, "entity_id"), textAt(body, "user_id")};
  return {{"server_time", serverTime}, {"messages", mailbox_.messagesFor(caller, serverTime)}};
}

void Service::takeEvents(const json& events) {
  std::vector<std::string> texts;
  texts.reserve(events.size());
  for (const auto& event : events) texts.push_back(jsonText(event));
  {
    const std::lock_guard lock(mutex_);
    for (auto& text : texts) events_.push_back(std::move(text));
  }
  countEvents(texts.size());
}

void Service::countEvents(std::size_t count) {
  {
    const std::lock_guard lock(mutex_);
    eventCount_ += count;
  }
  eventsArrived_.notify_all();
}

void Service::setConfiguration(json configuration) {
  const std::lock_guard lock(mutex_);
  configuration_ = std::move(configuration);
}

void Service::setInbox(const json& messages) {
  const std::lock_guard lock(mutex_);
  mailbox_.replace(messages);
}

void Service::addPush(json push) {
  const std::lock_guard lock(mutex_);
  pushes_.push_back(std::move(push));
}

json Service::state() const {
  const std::lock_guard lock(mutex_);
  return {{"devices", devices_},
          {"users", users_},
          {"tags", tags_},
          {"push", {{"registrations", registrations_}, {"messages", pushes_}}},
          {"inbox", mailbox_.contents()},
          {"locations", locations_},
          {"crossings", crossings_}};
}

std::vector<std::string> Service::events() const {
  const std::lock_guard lock(mutex_);
  return events_;
}

std::size_t Service::eventCount() const {
  const std::lock_guard lock(mutex_);
  return eventCount_;
}

bool Service::waitForEvents(std::size_t count, std::chrono::milliseconds timeout) const {
  std::unique_lock lock(mutex_);
  return eventsArrived_.wait_for(lock, timeout, [&] { return eventCount_ >= count; });
}

}  // namespace sorn::emulator
