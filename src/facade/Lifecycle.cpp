#include "facade/Lifecycle.h"

#include "facade/Services.h"

namespace sorn::facade {

using support::LogLevel;

void Lifecycle::applicationDidFinishLaunching() {
  logger_.log(LogLevel::appEvent, "Application -> Finished Launching");
  ensureSession();
}

void Lifecycle::applicationDidBecomeActive() { logger_.log(LogLevel::appEvent, "Application -> Active"); }

void Lifecycle::applicationWillResignActive() {
  logger_.log(LogLevel::appEvent, "Application -> Resign Active");
}

void Lifecycle::applicationDidEnterBackground() {
  logger_.log(LogLevel::appEvent, "Application -> Entered Background");
  services_().batch.enterBackground();
}

void Lifecycle::applicationWillEnterForeground() {
  logger_.log(LogLevel::appEvent, "Application -> Will Enter Foreground");
  ensureSession();
}

void Lifecycle::applicationWillTerminate() {
  logger_.log(LogLevel::appEvent, "Application -> Terminate");
  store::DBManager& database = services_().database;
  database.context().performBlockAndWait([&] { database.endSession(); });
}

void Lifecycle::applicationBackgroundRefreshStatusDidChange() {
  logger_.log(LogLevel::appEvent, "Application -> Background Refresh Status Changed");
  readBackgroundRefreshStatus();
}

void Lifecycle::readBackgroundRefreshStatus() {
  mainQueue_.post([this] { device_.setBackgroundRefreshStatus(application_.backgroundRefreshStatus()); });
}

void Lifecycle::ensureSession() {
  store::DBManager& database = services_().database;
  database.context().performBlock([&database] { database.ensureSession(); });
}

}  // namespace sorn::facade
