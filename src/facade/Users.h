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
#include "sync/EventStore.h"

namespace sorn::facade {

// Who the active user is, and which tags the application has. Any thread.
class Users {
 public:
  static constexpr std::size_t maxUserIDLength = 500;  // bytes; an identifier of this length is refused
  static constexpr std::size_t maxTags = 30;
  static constexpr std::size_t maxTagLength = 60;  // bytes

  using Completion = std::function<void(std::exception_ptr)>;
  struct Signals {
    std::function<void(const sync::NewEvent&)> record;  // stores and batches an event
    std::function<void()> fetchInbox;                   // after a login's call, on the task thread
  };

  Users(store::DBManager& database, server::APIClient& client, support::Tasks& tasks, support::Logger& logger,
        Signals signals);

  // A fault when the device has no identifier.
  std::string defaultUser();
  // The completion runs on the task thread, once the user is stored; the service is told apart from that.
  void loginUser(const std::string& id, Completion completion);
  void logoutUser();
  // Throws `maxTagsReached` and `maxTagLengthReached`.
  void registerPreferences(const std::vector<std::string>& tags);

 private:
  enum class AfterCall : std::uint8_t { fetchInbox, nothing };

  std::optional<std::string> defaultID();
  void login(const std::string& id);
  void logout();
  void activateAtServer(const std::string& id, AfterCall afterCall);
  bool hasTags(const std::vector<std::string>& tags);

  store::DBManager& database_;
  server::APIClient& client_;
  support::Tasks& tasks_;
  support::Logger& logger_;
  const Signals signals_;
};

}  // namespace sorn::facade
