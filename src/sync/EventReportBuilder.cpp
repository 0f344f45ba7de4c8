#include "sync/EventReportBuilder.h"

#include <array>
#include <utility>

#include "store/entities/SNDevice.h"
#include "store/entities/SNUser.h"
#include "support/json/Json.h"
#include "support/json/JsonCheck.h"
#include "support/json/JsonWriter.h"

namespace sorn::sync {

namespace {

using store::RowView;
using store::SNEvent;

// Events written within one turn of the store's queue.
constexpr std::size_t eventsInPiece = 64;

constexpr std::string_view campaignSubtype = "campaign_subtype";
constexpr std::string_view inAppStatus = "inapp_status";
constexpr std::array overwrittenKeys = {campaignSubtype, inAppStatus};

// What the rows are read for.
constexpr std::uint64_t reportedColumns =
    store::columnSet(SNEvent::eventID, SNEvent::type, SNEvent::category, SNEvent::action, SNEvent::campaignID,
                     SNEvent::campaignType, SNEvent::extra, SNEvent::sessionID, SNEvent::serialNumber,
                     SNEvent::timestamp, SNEvent::device, SNEvent::user);

// An absent text, and one that is not UTF-8 in a damaged row, reads as what stands for absence.
void appendText(std::string& out, std::string_view name, const RowView& event,
                const store::Attribute<std::string>& attribute, std::string_view ifAbsent) {
  out += name;
  // An absent text has no place in memory, an empty one has.
  const std::string_view text = event.text(attribute);
  if (!text.data() || !support::appendText(out, text)) out += ifAbsent;
}

// The same for a text that event after event repeats: as long as it does, its member is taken over.
void appendRepeated(std::string& out, std::string_view name, const RowView& event,
                    const store::Attribute<std::string>& attribute, std::string_view ifAbsent,
                    RepeatedText& last) {
  const std::string_view text = event.text(attribute);
  if (text.empty() || text != last.text) {
    const std::size_t start = out.size();
    appendText(out, name, event, attribute, ifAbsent);
    last.text = text;
    last.member.assign(out, start);
  } else {
    out += last.member;
  }
}

void appendInteger(std::string& out, std::int64_t value) { support::appendNumber(out, value); }

}  // namespace

std::optional<platform::HttpBody> EventReportBuilder::build(const store::RowRanges& events) {
  platform::HttpBody body;
  Shared shared;
  std::string piece = "{\"events\":[";
  bool isFirst = true;
  for (const store::RowRange& range : events.ranges()) {
    std::int64_t next = range.first;
    while (next <= range.last) {
      std::size_t count = 0;
      std::int64_t last = range.last;
      const bool isWhole = context_.performBlockAndWait([&] {
        shared.areCampaignsActive = defaults_.boolean(inAppCampaignsActive);
        const auto append = [&](const RowView& event) {
          if (!std::exchange(isFirst, false)) piece += ',';
          appendEvent(piece, event, shared);
          if (++count < eventsInPiece) return true;
          last = event.rowID();
          return false;
        };
        return context_.scan(SNEvent::entity(), {next, range.last}, append, reportedColumns);
      });
      if (!isWhole) return std::nullopt;
      next = last + 1;
      // The next piece is about as long: made for that, it neither grows nor wastes much, and the pieces of a
      // large report are most of what it costs in memory.
      const std::size_t expected = piece.size() + piece.size() / 16;
      body.pieces.push_back(std::move(piece));
      piece = std::string();
      piece.reserve(expected);
    }
  }
  body.pieces.push_back(piece + "]}");
  return body;
}

void EventReportBuilder::appendEvent(std::string& out, const RowView& event, Shared& shared) {
  appendText(out, "{\"event_id\":", event, SNEvent::eventID, "null");
  appendRepeated(out, ",\"type\":", event, SNEvent::type, "null", shared.type);
  appendRepeated(out, ",\"category\":", event, SNEvent::category, "\"NO_CATEGORY\"", shared.category);
  appendRepeated(out, ",\"action\":", event, SNEvent::action, "null", shared.action);
  out += ownersMembers(event.integer(SNEvent::user), event.integer(SNEvent::device), shared);
  appendRepeated(out, ",\"campaign_id\":", event, SNEvent::campaignID, "\"NO_CAMPAIGN\"", shared.campaignID);
  out += ",\"timestamp\":";
  if (event.isAbsent(SNEvent::timestamp) || !support::appendNumber(out, event.real(SNEvent::timestamp))) {
    out += "null";
  }
  appendRepeated(out, ",\"session_id\":", event, SNEvent::sessionID, "\"NO_SESSION\"", shared.sessionID);
  out += ",\"sequence\":";
  appendInteger(out, event.integer(SNEvent::serialNumber));
  out += ",\"extra\":";
  appendExtra(out, event, shared.areCampaignsActive);
  out += '}';
}

// The stored attributes with the two keys that are known only now. Attributes that a strict check accepts are
// taken over as they stand; anything else is parsed, so that one damaged row never spoils a report.
void EventReportBuilder::appendExtra(std::string& out, const RowView& event, bool areCampaignsActive) {
  const std::string_view extra = event.text(SNEvent::extra);
  const std::size_t start = out.size();
  if (support::isPlainObjectWithout(extra, overwrittenKeys)) {
    out.append(extra.substr(0, extra.size() - 1));
  } else {
    out += '{';
    Dictionary values;
    if (!event.isAbsent(SNEvent::extra)) {
      const auto document = support::Document::parse(extra, support::Fragments::yes);
      if (!document) logger_.log(support::LogLevel::error, document.error().description);
      if (document && document->root().isObject()) values = *document->root().toValue().as<Dictionary>();
    }
    for (const std::string_view key : overwrittenKeys) values.erase(std::string(key));
    out.resize(start);
    if (!support::appendValue(out, values)) out += "{}";
    out.pop_back();
  }
  const auto separate = [&] {
    if (out.back() != '{') out += ',';
  };
  if (!event.isAbsent(SNEvent::campaignType)) {
    separate();
    out += "\"campaign_subtype\":";
    appendInteger(out, event.integer(SNEvent::campaignType));
  }
  separate();
  out += areCampaignsActive ? "\"inapp_status\":1}" : "\"inapp_status\":0}";
}

std::string_view EventReportBuilder::ownersMembers(std::int64_t user, std::int64_t device, Shared& shared) {
  if (shared.owners.empty() || shared.lastUser != user || shared.lastDevice != device) {
    shared.owners = userMember(user, shared);
    shared.owners += deviceMembers(device, shared);
    shared.lastUser = user;
    shared.lastDevice = device;
  }
  return shared.owners;
}

std::string_view EventReportBuilder::userMember(std::int64_t row, Shared& shared) {
  const auto [entry, isNew] = shared.users.try_emplace(row);
  if (isNew) {
    entry->second = ",\"user_id\":";
    const auto user = context_.object(store::SNUser::entity(), row);
    const auto id = user ? user->get(store::SNUser::userID) : std::nullopt;
    if (!id || !support::appendText(entry->second, *id)) entry->second += "null";
  }
  return entry->second;
}

std::string_view EventReportBuilder::deviceMembers(std::int64_t row, Shared& shared) {
  const auto [entry, isNew] = shared.devices.try_emplace(row);
  if (isNew) {
    const auto device = context_.object(store::SNDevice::entity(), row);
    const auto id = device ? device->get(store::SNDevice::entityID) : std::nullopt;
    entry->second = ",\"entity_id\":";
    if (!id || !support::appendText(entry->second, *id)) entry->second += "null";
    entry->second += ",\"entity_os\":2,\"utcoffset\":";
    appendInteger(entry->second, device ? device->get(store::SNDevice::utcOffset).value_or(0) : 0);
  }
  return entry->second;
}

}  // namespace sorn::sync
