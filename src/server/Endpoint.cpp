#include "server/Endpoint.h"

#include <string>
#include <type_traits>

#include "store/ManagedObjectContext.h"
#include "store/entities/SNDevice.h"
#include "store/entities/SNUser.h"
#include "support/json/JsonWriter.h"

namespace sorn::server {

namespace {

using store::SNInboxItem;
using support::Writer;

// The platform's code, fixed in the protocol.
constexpr std::int64_t entityOS = 2;

template <class T>
void writeOptional(Writer& writer, std::string_view key, const std::optional<T>& value) {
  writer.key(key);
  documents::ValueForm<std::optional<T>>::encode(writer, value);
}

void writeText(Writer& writer, std::string_view key, std::string_view value) {
  writer.key(key);
  writer.text(value);
}

void writeInteger(Writer& writer, std::string_view key, std::int64_t value) {
  writer.key(key);
  writer.integer(value);
}

void writeItemMembers(Writer& writer, const SNInboxItem& item, const store::Attribute<Date>& date,
                      const BodySources& sources) {
  const auto device = item.get(SNInboxItem::device);
  const auto user = item.get(SNInboxItem::user);
  const auto entityID = device ? device->get(store::SNDevice::entityID) : std::nullopt;
  writeText(writer, "entity_id", entityID ? *entityID : sources.device.identifier());
  writeInteger(writer, "entity_os", entityOS);
  writeOptional(writer, "user_id", user ? user->get(store::SNUser::userID) : std::nullopt);
  writer.key("timestamp");
  writer.number(secondsSince1970(item.get(date).value_or(dateSince1970(0))));
  writeOptional(writer, "campaign_id", item.get(SNInboxItem::campaignID));
  writeOptional(writer, "category", item.get(SNInboxItem::category));
}

// Writes the members of each endpoint's body.
struct BodyWriter {
  Writer& writer;
  const BodySources& sources;

  void entity() const { writeText(writer, "entity_id", sources.device.identifier()); }
  void user(std::string_view id) const {
    entity();
    writeInteger(writer, "entity_os", entityOS);
    writeText(writer, "user_id", id);
  }
  void permission(std::uint64_t types, std::int64_t status) const {
    entity();
    writeInteger(writer, "authorization_status", status);
    writer.key("notification_types");
    writer.raw(std::to_string(types));
  }
  // Read or deleted messages, each within a turn of the store's queue. One whose record is gone leaves an
  // empty object in its place.
  void items(const std::vector<store::Ref<SNInboxItem>>& items, const store::Attribute<Date>& date) const {
    writer.beginArray();
    for (const auto& item : items) {
      writer.beginObject();
      sources.database.context().performBlockAndWait([&] {
        if (item->managedObjectContext()) writeItemMembers(writer, *item, date, sources);
      });
      writer.endObject();
    }
    writer.endArray();
  }

  void operator()(const PushTokenUpdate& endpoint) const {
    entity();
    writeText(writer, "push_id", endpoint.token);
  }
  void operator()(const PushEnable& endpoint) const {
    permission(endpoint.notificationTypes, endpoint.authorizationStatus);
  }
  void operator()(const PushDisable& endpoint) const {
    permission(endpoint.notificationTypes, endpoint.authorizationStatus);
  }
  void operator()(const PreferencesSave& endpoint) const {
    entity();
    writer.key("tags");
    documents::ValueForm<std::vector<std::string>>::encode(writer, endpoint.prefs);
  }
  void operator()(const UserActivate& endpoint) const { user(endpoint.user); }
  void operator()(const UserActivateAnonymous& endpoint) const { user(endpoint.user); }
  void operator()(const EventReport&) const {}
  void operator()(const InboxFetch& endpoint) const {
    entity();
    writeOptional(writer, "user_id", endpoint.userID);
    writeInteger(writer, "entity_os", entityOS);
    writer.key("created_at");
    writer.number(endpoint.createdAt);
    writeOptional(writer, "timestamp", endpoint.lastAccess);
  }
  void operator()(const InboxDelete& endpoint) const {
    writer.key("deleted");
    if (endpoint.items) {
      items(*endpoint.items, SNInboxItem::deletedAt);
    } else {
      writer.null();
    }
  }
  void operator()(const InboxRead& endpoint) const {
    writer.key("read");
    items(endpoint.items, SNInboxItem::readAt);
  }
  void operator()(const ReportPlace& endpoint) const {
    writeText(writer, "user_id", endpoint.user);
    entity();
    writeInteger(writer, "place_id", endpoint.placeID);
    writeInteger(writer, "direction", endpoint.direction + 1);
    writer.key("delays");
    documents::ValueForm<std::vector<std::int64_t>>::encode(writer, endpoint.delays);
    writeInteger(writer, "distance", endpoint.distance);
    writeInteger(writer, "accuracy", endpoint.accuracy);
  }
  void operator()(const Save&) const {
    const documents::DeviceInfo info = sources.device.deviceInfo();
    writer.key("timestamp");
    writer.number(secondsSince1970(sources.clock.now()));
    std::apply([&](const auto&... field) { (documents::detail::encodeField(writer, field, info), ...); },
               documents::Description<documents::DeviceInfo>::fields);
    writer.key("other_entity_ids");
    documents::ValueForm<std::vector<std::string>>::encode(writer, sources.database.otherEntityIds());
  }
  void operator()(const UserDeactivate&) const {
    entity();
    writeInteger(writer, "entity_os", entityOS);
  }
  void operator()(const LocationRegister&) const { entity(); }
  void operator()(const LocationUnregister&) const { entity(); }
};

}  // namespace

std::string_view description(const Endpoint& endpoint) {
  return std::visit([]<class Case>(const Case&) { return Case::path; }, endpoint);
}

std::optional<platform::HttpBody> bodyOf(Endpoint endpoint, const BodySources& sources) {
  if (auto* report = std::get_if<EventReport>(&endpoint)) return std::move(report->body);
  std::string text;
  Writer writer(text);
  writer.beginObject();
  std::visit(BodyWriter{writer, sources}, endpoint);
  writer.endObject();
  if (!writer.isValid()) return std::nullopt;
  platform::HttpBody body;
  body.pieces.push_back(std::move(text));
  return body;
}

}  // namespace sorn::server
