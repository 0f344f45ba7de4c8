#pragma once

#include "sync/StartStep.h"
#include "users/UserRecords.h"
#include "users/Users.h"

namespace sorn::users {

// Sees to it that there is an active user, and logs it in again after a change of the library's version.
class UserStep final : public sync::StartStep {
 public:
  UserStep(store::DBManager& database, UserRecords& records, Users& users, support::Logger& logger)
      : database_(database), records_(records), users_(users), logger_(logger) {}

  void run(sync::StartFindings& findings) override;

 private:
  store::DBManager& database_;
  UserRecords& records_;
  Users& users_;
  support::Logger& logger_;
};

}  // namespace sorn::users
