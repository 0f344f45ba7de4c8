#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "documents/DeviceInfo.h"
#include "sorn/platform/Application.h"
#include "store/ManagedObjectContext.h"
#include "store/entities/SNApplication.h"
#include "store/entities/SNDevice.h"
#include "store/entities/SNServerStatus.h"
#include "store/entities/SNSession.h"
#include "store/entities/SNUser.h"
#include "support/Account.h"
#include "support/Logger.h"
#include "support/Tasks.h"

namespace sorn::store {

// Hands out the current application, user and session, owns the library's two timers, and offers the writes
// that the rest of the library does on records. Any thread, unless an operation says that it belongs on the
// context's queue.
class DBManager {
 public:
  static constexpr support::Tasks::Seconds maintenancePeriod{60.0};
  static constexpr std::string_view backgroundTaskName = "SORN_MAINTAIN_TASK";

  // What lies above the store. Every one of them is set; `connect` completes them before the first use.
  struct Handlers {
    std::function<documents::DeviceInfo()> deviceInfo;
    std::function<std::string()> makeIdentifier;  // stores a new device identifier and gives it
    std::function<support::Tasks::Seconds()> batchTimeout;
    std::function<void()> maintain;                    // the maintenance timer's tick, on the task thread
    std::function<void()> sendBatchedEvents;           // the batch timer's tick, on the task thread
    std::function<void()> startEventBatching;          // on entering the background
    std::function<void(std::string_view)> raiseEvent;  // creates and batches an event of this action
    std::function<void()> fetchInbox;                  // a session has begun; on the task thread
  };

  DBManager(ManagedObjectContext& context, support::Account& account, support::Tasks& tasks,
            platform::Application& application, support::Logger& logger, Handlers handlers);
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
  // The part of the device's identifier that is no application key; absent without an identifier.
  std::optional<std::string> defaultUserID();
  std::optional<std::string> entityIdentifier();
  bool isDefaultUser(const SNUser& user);

  // Record stores. Each ends in a save and says whether it succeeded.
  bool deviceSynchronisation(const documents::DeviceInfo& info);
  bool deviceStatusUpdate(ServerStatusState state);
  bool deviceCreatedAtStore(double secondsSince1970);
  bool userActivation(const std::optional<std::string>& userID);
  bool loginDefaultUser();
  bool userStatus(ServerStatusState state);
  bool pushTokenStore(std::string_view token, ServerStatusState state);
  bool pushGatewayUpdate(std::int64_t notificationTypes, std::int64_t authorizationStatus,
                         ServerStatusState state);
  bool preferencesStore(const std::vector<std::string>& tags, ServerStatusState state);
  std::optional<std::vector<std::string>> preferencesRead();
  bool locationsUpdate(bool enabled);
  // Deletes events and inbox items without a category, which only an older store can hold.
  bool deleteLocalRecords();
  bool saveContext();

  // Sessions. On the context's queue.
  void startSession();
  void endSession();
  void clearSessions();
  // Closes the session, saves, and has what is batched sent under a background task. Returns at once.
  void enterBackground();
  // Ends the background task if one is open. On the context's queue.
  void endBackgroundTask();

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
  void createDevice(const Ref<SNApplication>& application);
  bool setStatus(const Ref<ManagedObject>& owner, ServerStatusState state);

  ManagedObjectContext& context_;
  support::Account& account_;
  support::Tasks& tasks_;
  platform::Application& application_;
  support::Logger& logger_;
  const Handlers handlers_;

  // All of these belong to the context's queue.
  Ref<SNApplication> backingCurrentApplication_;
  Ref<SNSession> backingCurrentSession_;
  bool isMaintaining_ = false;
  platform::Application::BackgroundTask bgMaintainTask_ = platform::Application::invalidBackgroundTask;
  std::set<std::string> campaignIDs_;
  std::vector<std::string> otherEntityIds_;

  std::unique_ptr<support::Tasks::Timer> maintenanceTimer_;
  std::unique_ptr<support::Tasks::Timer> eventBatchingTimer_;
};

}  // namespace sorn::store
