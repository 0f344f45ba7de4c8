#pragma once

#include <string_view>
#include <vector>

#include "store/entities/SNInboxItem.h"
#include "sync/Report.h"

namespace sorn::inbox {

// Messages that were read or deleted here, as long as the service does not know. Their state stays `pending`
// after a failed call; it falls back when it has been so for too long.
class InboxReport final : public sync::Report {
 public:
  InboxReport(store::DBManager& database, server::APIClient& client, support::Logger& logger)
      : database_(database), client_(client), logger_(logger) {}

  void sendUnsent() override;

 private:
  using Items = std::vector<store::Ref<store::SNInboxItem>>;

  bool needsReport(const store::Ref<store::SNInboxItem>& item);
  void sendRead(const Items& items);
  void sendDeleted(const Items& items);
  // `list` is the answer's member that holds an entry for each item, in their order.
  void takeAnswer(const Items& items, std::string_view list, const server::CallResult& result);
  void takeEntry(const store::Ref<store::SNInboxItem>& item, const support::Node& entry);

  store::DBManager& database_;
  server::APIClient& client_;
  support::Logger& logger_;
};

}  // namespace sorn::inbox
