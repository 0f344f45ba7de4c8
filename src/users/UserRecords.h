#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "server/Endpoint.h"
#include "store/DBManager.h"
#include "store/entities/SNServerStatus.h"
#include "support/Logger.h"

namespace sorn::users {

// The users of the application, and its tags. Any thread.
class UserRecords {
 public:
  UserRecords(store::DBManager& database, support::Logger& logger) : database_(database), logger_(logger) {}

  // The identifier of the anonymous user: the device's without its application key. Absent where there is
  // none, or it has no such part.
  std::optional<std::string> defaultUserID();
  bool isDefaultUser(const std::optional<std::string>& userID) { return userID && userID == defaultUserID(); }

  // Makes this user the active one, with a record of its own from now on; the service is still to be told.
  void userActivation(const std::string& userID);
  void loginDefaultUser();
  // Of whoever is the active user by now.
  void userStatus(store::ServerStatusState state);
  // The call that tells the service who is active: the default user has one of its own.
  server::Endpoint activationOf(const std::string& userID);

  void preferencesStore(const std::vector<std::string>& tags, store::ServerStatusState state);
  // Absent without tags, and when what is stored is no list of texts.
  std::optional<std::vector<std::string>> preferencesRead();

 private:
  store::DBManager& database_;
  support::Logger& logger_;
};

}  // namespace sorn::users
