#include "facade/Services.h"

namespace sorn::facade {

// The two lists below are orders: that of the steps of a start, and that of what maintenance sends.
Services::Services(const Foundation& on)
    : coreData(*on.ports.directories, *on.ports.clock, on.ports.deployment.durability, on.logger),
      context(coreData.context()),
      database(context, on.account, on.logger, deviceRecords, {sessionEvents}),
      client(on.account, on.tasks, on.logger, {on.device, database, *on.ports.clock}),
      eventReportBuilder(context, *on.ports.userDefaults, on.logger),
      eventReports(context, client, on.tasks, eventReportBuilder, on.logger),
      events(database, on.configuration, on.device, on.logger, eventReports, campaigns),
      backgroundTask(context, *on.ports.application),
      batch(database, events, eventReports, backgroundTask, on.configuration, on.tasks, on.logger),
      recorder(events, batch, context),
      eventCalls(context, on.configuration, *on.ports.application, on.logger, recorder),
      sessionEvents(recorder),
      unsentEvents(database, eventReports, on.logger),
      deviceRecords(database, on.device),
      deviceStep(database, deviceRecords, on.device, on.configuration, client, on.logger),
      deviceReport(database, deviceRecords, client, on.logger),
      userRecords(database, on.logger),
      users(database, userRecords, client, on.tasks, on.logger, recorder),
      userStep(database, userRecords, users, on.logger),
      userReport(database, userRecords, client, on.logger),
      preferencesReport(database, client, on.logger),
      inboxReport(database, client, on.logger),
      pushRecords(database),
      tokenStep(pushRecords, on.logger),
      tokenReport(context, pushRecords, client, on.logger),
      placeRecords(database, on.logger),
      published(on.account, on.ports.deployment, *on.ports.userDefaults, *on.ports.clock, on.tasks, on.logger,
                placeRecords),
      placesStep(placeRecords, on.configuration, published, on.logger),
      locationsReport(context, placeRecords, client, on.logger),
      presentation(*on.ports.mainQueue, on.logger),
      campaigns(database, published, *on.ports.directories, *on.ports.userDefaults, on.account, on.logger,
                presentation, authorization),
      localRecords(context),
      reconciliation(on.state, on.device, on.logger,
                     {deviceStep, userStep, tokenStep, localRecords, placesStep}),
      maintenance(database, *on.ports.userDefaults, on.tasks, on.logger, on.restart, events,
                  {deviceReport, userReport, preferencesReport, unsentEvents, inboxReport, tokenReport,
                   locationsReport}) {}

}  // namespace sorn::facade
