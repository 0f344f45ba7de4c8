#pragma once

#include <memory>

#include "campaigns/SornInAppCampaignManager.h"
#include "device/DeviceManager.h"
#include "device/KeychainWrapper.h"
#include "facade/FacadeState.h"
#include "facade/Lazy.h"
#include "facade/Lifecycle.h"
#include "facade/Reconciliation.h"
#include "facade/Startup.h"
#include "facade/Users.h"
#include "server/APIClient.h"
#include "server/ConfigurationStore.h"
#include "server/PublishedFiles.h"
#include "sorn/Sorn.h"
#include "sorn/platform/Platform.h"
#include "store/CoreDataManager.h"
#include "store/DBManager.h"
#include "support/Account.h"
#include "support/Logger.h"
#include "support/Tasks.h"
#include "sync/EventBatch.h"
#include "sync/EventStore.h"
#include "sync/MaintenanceRoutine.h"

namespace sorn::facade {

// The composition: every service, made on its first use and wired to what it needs. The only place that knows
// them all, and the only one that connects what lies below to what lies above. A process has one, which is
// never released; tests make as many as they like.
class Library {
 public:
  explicit Library(platform::Platform ports);
  // Ends the threads without finishing their work, as the end of the process would.
  ~Library();
  Library(const Library&) = delete;
  Library& operator=(const Library&) = delete;

  Sorn& sorn() { return *sorn_; }
  static Library& of(Sorn& sorn) { return sorn.library_; }

  void start(const std::string& configurationFile);
  // Throws `serviceUnavailable` in a child process that was forked off.
  void refuseAfterFork() const;

  // Logs and throws `featureNotEnabled` when the account reports no usage.
  void requireUsageReports();
  // Stores the event and counts it towards the batch, within one turn of the store's queue.
  void record(const sync::NewEvent& event);

  const platform::Platform& ports() const { return ports_; }
  FacadeState& state() { return state_; }
  support::Logger& logger() { return logger_; }
  support::Tasks& tasks() { return tasks_; }
  support::Account& account() { return account_; }
  device::DeviceManager& device() { return device_; }
  server::ConfigurationStore& configuration() { return configuration_; }
  store::CoreDataManager& coreData();
  store::ManagedObjectContext& context() { return coreData().context(); }
  store::DBManager& database();
  server::APIClient& client();
  sync::EventStore& events();
  sync::EventBatch& batch();
  sync::MaintenanceRoutine& maintenance();
  Reconciliation& reconciliation();
  Lifecycle& lifecycle() { return lifecycle_; }
  Users& users();
  server::PublishedFiles& published();
  campaigns::SornInAppCampaignManager& campaigns();

  // Who shows a selected campaign; called on the main queue. Until somebody is set, none is shown.
  using Presenter = std::function<void(const documents::SornInAppCampaign&)>;
  void setPresenter(Presenter presenter);

 private:
  std::unique_ptr<store::DBManager> makeDatabase();
  std::unique_ptr<server::APIClient> makeClient();
  std::unique_ptr<campaigns::SornInAppCampaignManager> makeCampaigns();
  void present(const documents::SornInAppCampaign& campaign, double after);

  const platform::Platform ports_;
  const std::unique_ptr<Sorn> sorn_;
  FacadeState state_;
  support::Logger logger_;
  support::Account account_;
  device::KeychainWrapper keychain_;
  device::DeviceManager device_;
  server::ConfigurationStore configuration_;
  Startup startup_;
  Lifecycle lifecycle_;
  support::Tasks tasks_;
  Lazy<store::CoreDataManager> coreData_;
  Lazy<store::DBManager> database_;
  Lazy<server::EventReportBuilder> reports_;
  Lazy<server::APIClient> client_;
  Lazy<sync::EventStore> events_;
  Lazy<sync::EventBatch> batch_;
  Lazy<sync::MaintenanceRoutine> maintenance_;
  Lazy<Reconciliation> reconciliation_;
  Lazy<Users> users_;
  Lazy<server::PublishedFiles> published_;
  Lazy<campaigns::SornInAppCampaignManager> campaigns_;
  std::mutex presenterMutex_;
  Presenter presenter_;
};

}  // namespace sorn::facade
