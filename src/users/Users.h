#pragma once

#include <exception>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "server/APIClient.h"
#include "store/DBManager.h"
#include "support/Logger.h"
#include "support/Tasks.h"
#include "sync/EventRecorder.h"
#include "users/UserRecords.h"

namespace sorn::users {

// Who the active user is, and which tags the application has: what the host says of them. Any thread.
class Users {
 public:
  static constexpr std::size_t maxUserIDLength = 500;  // bytes; an identifier of this length is refused
  static constexpr std::size_t maxTags = 30;
  static constexpr std::size_t maxTagLength = 60;  // bytes

  using Completion = std::function<void(std::exception_ptr)>;

  Users(store::DBManager& database, UserRecords& records, server::APIClient& client, support::Tasks& tasks,
        support::Logger& logger, sync::EventRecorder& recorder);

  // A fault when the device has no identifier.
  std::string defaultUser();
  // The completion, which may be empty, runs on the task thread, once the user is stored; the service is told
  // apart from that.
  void loginUser(const std::string& id, Completion completion);
  void logoutUser();
  // Throws `maxTagsReached` and `maxTagLengthReached`.
  void registerPreferences(const std::vector<std::string>& tags);

 private:
  void login(const std::string& id);
  void logout();
  void activateAtServer(const std::string& id);
  bool hasTags(const std::vector<std::string>& tags);

  store::DBManager& database_;
  UserRecords& records_;
  server::APIClient& client_;
  support::Tasks& tasks_;
  support::Logger& logger_;
  sync::EventRecorder& recorder_;
};

}  // namespace sorn::users
