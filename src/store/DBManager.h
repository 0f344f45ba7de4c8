#pragma once

#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "store/DeviceCreation.h"
#include "store/ManagedObjectContext.h"
#include "store/SessionObserver.h"
#include "store/entities/SNApplication.h"
#include "store/entities/SNDevice.h"
#include "store/entities/SNSession.h"
#include "store/entities/SNUser.h"
#include "support/Account.h"
#include "support/Logger.h"

namespace sorn::store {

// Hands out the current application, user and session, and opens and closes sessions. What else is done with
// records lies with the features. Any thread, unless an operation says that it belongs on the context's
// queue.
class DBManager {
 public:
  DBManager(ManagedObjectContext& context, const support::Account& account, support::Logger& logger,
            DeviceCreation& devices, SessionObservers observers);
  DBManager(const DBManager&) = delete;
  DBManager& operator=(const DBManager&) = delete;

  ManagedObjectContext& context() { return context_; }

  // The record for the credentials' key and secret, made together with its device on first use. A fault
  // before there are credentials.
  Ref<SNApplication> currentApplication();
  Ref<SNUser> currentUser();
  // Opens a new session each time; see `backingCurrentSession` for the one that is open.
  Ref<SNSession> currentSession();
  // Null while no session is open. On the context's queue.
  const Ref<SNSession>& backingCurrentSession() const { return backingCurrentSession_; }
  // Opens a session unless one is open. On the context's queue.
  void ensureSession();
  // The identifier in the current application's device record; absent without an identifier.
  std::optional<std::string> entityIdentifier();

  // Saves now, or along with what is saved later.
  void saveContext();

  // Sessions. On the context's queue.
  void startSession();
  void endSession();
  void clearSessions();

  // Campaigns touched since the session began.
  std::set<std::string> campaignIDs();
  void addCampaignID(std::string campaignID);
  // Device identifiers of the other application records.
  std::vector<std::string> otherEntityIds();

  // Guards maintenance and batch against each other. On the context's queue.
  bool isMaintaining() const { return isMaintaining_; }
  void setMaintaining(bool maintaining) { isMaintaining_ = maintaining; }

 private:
  Ref<SNApplication> findApplication();

  ManagedObjectContext& context_;
  const support::Account& account_;
  support::Logger& logger_;
  DeviceCreation& devices_;
  const SessionObservers observers_;

  // All of these belong to the context's queue.
  Ref<SNApplication> backingCurrentApplication_;
  Ref<SNSession> backingCurrentSession_;
  bool isMaintaining_ = false;
  std::set<std::string> campaignIDs_;
  std::vector<std::string> otherEntityIds_;
};

}  // namespace sorn::store
