#include "sorn-emulator/Mailbox.h"

#include <algorithm>

#include "sorn-emulator/Encoding.h"

namespace sorn::emulator {

namespace {

using nlohmann::json;

std::string textAt(const json& object, const char* key) {
  const auto member = object.is_object() ? object.find(key) : object.end();
  return object.is_object() && member != object.end() && member->is_string() ? member->get<std::string>()
                                                                             : std::string();
}

double numberAt(const json& object, const char* key) {
  const auto member = object.is_object() ? object.find(key) : object.end();
  return object.is_object() && member != object.end() && member->is_number() ? member->get<double>() : 0;
}

json ownerOf(const json& message) {
  return message.is_object() && message.contains("owner") ? message["owner"] : json();
}

bool hasExpired(const json& message, double serverTime) {
  const double expiry = numberAt(message, "expiresAt");
  return expiry > 0 && expiry <= serverTime;
}

}  // namespace

void Mailbox::replace(const json& messages) {
  messages_.clear();
  for (const auto& message : messages) messages_.push_back({message, {}});
}

json Mailbox::messagesFor(const Caller& caller, double serverTime) const {
  auto list = json::array();
  for (const auto& message : messages_) {
    if (hasExpired(message.content, serverTime) || message.deletedBy.contains(caller.device)) continue;
    auto copy = message.content;
    const auto owner = ownerOf(copy);
    if (textAt(owner, "id") == "*") {
      copy["owner"]["id"] = textAt(owner, "type") == "user" ? caller.user : caller.device;
    }
    list.push_back(std::move(copy));
  }
  return list;
}

Mailbox::Message* Mailbox::find(const json& item) {
  const auto campaign = textAt(item, "campaign_id");
  const auto found = std::ranges::find_if(messages_, [&](const Message& message) {
    const auto owner = ownerOf(message.content);
    const auto id = textAt(owner, "id");
    return textAt(message.content, "campaign_id") == campaign &&
           (id == "*" || id == textAt(item, textAt(owner, "type") == "user" ? "user_id" : "entity_id"));
  });
  return campaign.empty() || found == messages_.end() ? nullptr : &*found;
}

json Mailbox::report(const json& items, const std::string& member) {
  auto answer = json::array();
  if (!items.is_array()) return answer;
  for (const auto& item : items) {
    auto* message = find(item);
    if (message) {
      const double at = numberAt(item, "timestamp");
      message->content[member] = at > 0 ? at : now();
      if (member == "deletedAt") message->deletedBy.insert(textAt(item, "entity_id"));
    }
    const auto campaign = textAt(item, "campaign_id");
    answer.push_back({{"id", campaign.empty() ? json() : json(campaign)}, {"status", message != nullptr}});
  }
  return answer;
}

json Mailbox::contents() const {
  auto list = json::array();
  for (const auto& message : messages_) list.push_back(message.content);
  return list;
}

}  // namespace sorn::emulator
