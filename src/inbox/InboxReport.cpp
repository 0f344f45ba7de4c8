#include "inbox/InboxReport.h"

#include <optional>
#include <string>

#include "support/Fault.h"
#include "support/json/Json.h"
#include "sync/Ownership.h"

namespace sorn::inbox {

using server::CallResult;
using store::ServerStatusState;
using store::SNInboxItem;
using store::SNServerStatus;
using support::LogLevel;
using support::Node;

void InboxReport::sendUnsent() {
  Items items = database_.context().fetchRecords<SNInboxItem>();
  std::erase_if(items, [this](const auto& item) { return !needsReport(item); });
  if (items.empty()) return;
  logger_.log(LogLevel::warning, [&] {
    return "Found " + std::to_string(items.size()) + " inbox items that need to be sent...";
  });
  Items read;
  Items deleted;
  // One that is neither read nor deleted has nothing to report, and comes back here as long as it lives.
  for (const auto& item : items) {
    SNServerStatus::of(item)->setStatus(ServerStatusState::pending);
    if (item->get(SNInboxItem::deletedAt)) {
      deleted.push_back(item);
    } else if (item->get(SNInboxItem::readAt)) {
      read.push_back(item);
    }
  }
  if (!read.empty()) sendRead(read);
  if (!deleted.empty()) sendDeleted(deleted);
}

bool InboxReport::needsReport(const store::Ref<SNInboxItem>& item) {
  const auto status = SNServerStatus::of(item);
  if (!status || !database_.context().exists(*item)) return false;
  const std::optional<std::int64_t> raw = status->status();
  return raw != 0 && raw != 1 &&
         sync::belongsToApplication(database_, item->reference(SNInboxItem::device),
                                    item->reference(SNInboxItem::user));
}

void InboxReport::sendRead(const Items& items) {
  const std::string count = std::to_string(items.size());
  logger_.log(LogLevel::info, [&] { return "Trying to send 'read' for " + count + " items..."; });
  logger_.log(LogLevel::info, [&] { return "Attempting to send read " + count + " items: to Sorn..."; });
  client_.request(server::InboxRead{items},
                  [this, items](const CallResult& result) { takeAnswer(items, "read", result); });
}

void InboxReport::sendDeleted(const Items& items) {
  const std::string count = std::to_string(items.size());
  logger_.log(LogLevel::info, [&] { return "Trying to send 'delete' for " + count + " items..."; });
  logger_.log(LogLevel::info, [&] { return "Attempting to send delete " + count + " items: to Sorn..."; });
  client_.request(server::InboxDelete{items},
                  [this, items](const CallResult& result) { takeAnswer(items, "deleted", result); });
}

void InboxReport::takeAnswer(const Items& items, std::string_view list, const CallResult& result) {
  const std::optional<Node> object = result ? result->object() : std::nullopt;
  const std::optional<Node> entries = object ? object->find(list) : std::nullopt;
  bool areObjects = entries && entries->isArray();
  if (areObjects) {
    for (const Node& entry : entries->elements()) areObjects = areObjects && entry.isObject();
  }
  if (!areObjects) {
    logger_.log(LogLevel::warning,
                [&] { return "Response did not include a '" + std::string(list) + "' list!"; });
    return;
  }
  if (entries->size() < items.size()) support::fault("an answer for each reported message");
  auto entry = entries->elements().begin();
  for (const auto& item : items) {
    takeEntry(item, *entry);
    ++entry;
  }
}

// A deleted message that the service has confirmed keeps its record all the same: it is gone only from what
// the host sees.
void InboxReport::takeEntry(const store::Ref<SNInboxItem>& item, const Node& entry) {
  database_.context().performBlockAndWait([&] {
    const auto id = entry.find("id");
    const auto status = entry.find("status");
    if (!id || !id->isText() || item->get(SNInboxItem::campaignID) != std::string(id->text())) {
      logger_.log(LogLevel::error, "Reported item campaignID doesn't matched the response's item!");
      return;
    }
    if (!status || status->kind() != support::Kind::boolean) {
      logger_.log(LogLevel::warning, "Reported item status not found!");
      return;
    }
    auto record = SNServerStatus::of(item);
    if (!record) return;
    record->setStatus(status->boolean() ? ServerStatusState::isTrue : ServerStatusState::isFalse);
    database_.context().saveNowOrLater();
  });
}

}  // namespace sorn::inbox
