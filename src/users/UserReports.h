#pragma once

#include "sync/Report.h"
#include "users/UserRecords.h"

namespace sorn::users {

// The active user, as long as the service has not accepted the activation.
class UserReport final : public sync::Report {
 public:
  UserReport(store::DBManager& database, UserRecords& records, server::APIClient& client,
             support::Logger& logger)
      : database_(database), records_(records), client_(client), logger_(logger) {}

  void sendUnsent() override;

 private:
  store::DBManager& database_;
  UserRecords& records_;
  server::APIClient& client_;
  support::Logger& logger_;
};

// The tags, as long as the service does not have them.
class PreferencesReport final : public sync::Report {
 public:
  PreferencesReport(store::DBManager& database, server::APIClient& client, support::Logger& logger)
      : database_(database), client_(client), logger_(logger) {}

  void sendUnsent() override;

 private:
  store::DBManager& database_;
  server::APIClient& client_;
  support::Logger& logger_;
};

}  // namespace sorn::users
