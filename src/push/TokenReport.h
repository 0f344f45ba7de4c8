#pragma once

#include "push/PushRecords.h"
#include "sync/Report.h"

namespace sorn::push {

// The push token, as long as the service does not have it.
class TokenReport final : public sync::Report {
 public:
  TokenReport(store::ManagedObjectContext& context, PushRecords& records, server::APIClient& client,
              support::Logger& logger)
      : context_(context), records_(records), client_(client), logger_(logger) {}

  void sendUnsent() override;

 private:
  store::ManagedObjectContext& context_;
  PushRecords& records_;
  server::APIClient& client_;
  support::Logger& logger_;
};

}  // namespace sorn::push
