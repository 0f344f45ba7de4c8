#pragma once

#include "campaigns/SornInAppCampaignManager.h"
#include "device/DeviceManager.h"
#include "events/BackgroundTask.h"
#include "events/BatchedRecorder.h"
#include "events/EventBatch.h"
#include "events/EventCalls.h"
#include "events/EventStore.h"
#include "events/SessionEvents.h"
#include "events/UnsentEvents.h"
#include "facade/FacadeState.h"
#include "facade/Presentation.h"
#include "facade/Reconciliation.h"
#include "inbox/InboxReport.h"
#include "places/LocationsReport.h"
#include "places/PlaceRecords.h"
#include "places/PlacesStep.h"
#include "push/NotificationAuthorization.h"
#include "push/PushRecords.h"
#include "push/TokenReport.h"
#include "push/TokenStep.h"
#include "registration/DeviceRecords.h"
#include "registration/DeviceReport.h"
#include "registration/DeviceStep.h"
#include "server/APIClient.h"
#include "server/ConfigurationStore.h"
#include "server/PublishedFiles.h"
#include "sorn/platform/Platform.h"
#include "store/CoreDataManager.h"
#include "store/DBManager.h"
#include "support/Account.h"
#include "support/Logger.h"
#include "support/Tasks.h"
#include "sync/EventReportBuilder.h"
#include "sync/EventReports.h"
#include "sync/LocalRecords.h"
#include "sync/MaintenanceRoutine.h"
#include "users/UserRecords.h"
#include "users/UserReports.h"
#include "users/UserStep.h"
#include "users/Users.h"

namespace sorn::facade {

// What is there before anything is stored, for the services to stand on.
struct Foundation {
  const platform::Platform& ports;
  FacadeState& state;
  support::Logger& logger;
  support::Account& account;
  device::DeviceManager& device;
  server::ConfigurationStore& configuration;
  support::Tasks& tasks;
  sync::Restart& restart;
};

// Every service that works on records, wired to what it needs. They are made together, on the first use of
// any, which is when the credentials are known. A service is handed the ones that it uses, also those below
// it here: none of them is used before all are made.
struct Services {
  explicit Services(const Foundation& on);
  Services(const Services&) = delete;
  Services& operator=(const Services&) = delete;

  store::CoreDataManager coreData;
  store::ManagedObjectContext& context;
  store::DBManager database;
  server::APIClient client;
  sync::EventReportBuilder eventReportBuilder;
  sync::EventReports eventReports;

  events::EventStore events;
  events::BackgroundTask backgroundTask;
  events::EventBatch batch;
  events::BatchedRecorder recorder;
  events::EventCalls eventCalls;
  events::SessionEvents sessionEvents;
  events::UnsentEvents unsentEvents;

  registration::DeviceRecords deviceRecords;
  registration::DeviceStep deviceStep;
  registration::DeviceReport deviceReport;

  users::UserRecords userRecords;
  users::Users users;
  users::UserStep userStep;
  users::UserReport userReport;
  users::PreferencesReport preferencesReport;

  inbox::InboxReport inboxReport;

  push::PushRecords pushRecords;
  push::NotificationAuthorization authorization;
  push::TokenStep tokenStep;
  push::TokenReport tokenReport;

  places::PlaceRecords placeRecords;
  server::PublishedFiles published;
  places::PlacesStep placesStep;
  places::LocationsReport locationsReport;

  Presentation presentation;
  campaigns::SornInAppCampaignManager campaigns;

  sync::LocalRecords localRecords;
  Reconciliation reconciliation;
  sync::MaintenanceRoutine maintenance;
};

}  // namespace sorn::facade
