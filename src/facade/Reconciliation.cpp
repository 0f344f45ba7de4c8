#include "facade/Reconciliation.h"

#include <utility>

#include "store/DeviceRecord.h"
#include "store/entities/SNLocations.h"
#include "store/entities/SNPushGateway.h"
#include "support/Calendar.h"

namespace sorn::facade {

using documents::DeviceInfo;
using server::CallResult;
using store::ServerStatusState;
using store::SNApplication;
using store::SNDevice;
using store::SNServerStatus;
using support::LogLevel;

namespace {

std::string nameOf(SornMode mode) {
  switch (mode) {
    case SornMode::development:
      return "Development";
    case SornMode::production:
      return "Production";
    case SornMode::undefined:
      break;
  }
  return "Undefined";
}

std::optional<std::string> firstNumber(const std::optional<std::string>& version) {
  if (!version) return std::nullopt;
  return version->substr(0, version->find('.'));
}

}  // namespace

Reconciliation::Reconciliation(FacadeState& state, store::DBManager& database, device::DeviceManager& device,
                               server::ConfigurationStore& configuration, server::APIClient& client,
                               support::Logger& logger, Signals signals)
    : state_(state),
      database_(database),
      device_(device),
      configuration_(configuration),
      client_(client),
      logger_(logger),
      signals_(std::move(signals)) {}

void Reconciliation::run(SornMode mode) {
  logger_.log(LogLevel::info,
              [&] { return "Starting SORN SDK " + device_.SDKVersion() + ", Mode: " + nameOf(mode); });
  state_.mode = mode;
  // Before anything reads a record: the device's is made with it.
  device_.identifier();
  const Findings findings = compare();
  contactServerIfNeeded(findings);
  repairUser(findings.isSameVersion);
  database_.deleteLocalRecords();
  monitorPlaces();
  state_.didStart = true;
  if (signals_.checkProvisionalNotifications) signals_.checkProvisionalNotifications();
}

Reconciliation::Findings Reconciliation::compare() {
  Findings findings;
  const store::Ref<SNApplication> application = database_.currentApplication();
  findings.current = device_.deviceInfo();
  const store::Ref<SNDevice> device = application->get(SNApplication::device);
  const std::optional<SNServerStatus> status = SNServerStatus::of(device);
  if (status) findings.status = status->statusState();
  findings.isOld = isOld(status);
  const DeviceInfo stored = device ? store::deviceInfo(*device) : DeviceInfo();
  findings.isSame = stored == findings.current;
  findings.isSameVersion = firstNumber(findings.current.sdk_version) == firstNumber(stored.sdk_version);
  if (!findings.isSame) {
    logDifferences(stored, findings.current);
    database_.deviceSynchronisation(findings.current);
    // A record that had no status has just been given one, and with it the service's ignorance of it.
    if (!findings.status) findings.status = ServerStatusState::pending;
  }
  return findings;
}

bool Reconciliation::isOld(const std::optional<SNServerStatus>& status) const {
  const std::optional<Date> lastUpdated = status ? status->lastUpdated() : std::nullopt;
  return !lastUpdated || support::wholeDaysBetween(*lastUpdated, database_.context().now()) > 0;
}

void Reconciliation::logDifferences(const DeviceInfo& stored, const DeviceInfo& current) {
  logger_.log(LogLevel::warning, "Device info changed");
  if (!logger_.isEnabled()) return;
  const auto storedValues = documents::fieldValues(stored);
  const auto currentValues = documents::fieldValues(current);
  std::apply(
      [&](const auto&... field) {
        const auto show = [&](std::string_view name) {
          const auto before = storedValues.find(std::string(name));
          const auto now = currentValues.find(std::string(name));
          const std::string from = before == storedValues.end() ? "nil" : before->second;
          const std::string to = now == currentValues.end() ? "nil" : now->second;
          if (from != to) logger_.log(LogLevel::info, std::string(name) + " : " + from + " -> " + to);
        };
        (show(field.key), ...);
      },
      documents::Description<DeviceInfo>::fields);
}

void Reconciliation::contactServerIfNeeded(const Findings& findings) {
  if (!findings.status) {
    logger_.log(LogLevel::error, "ServerStatus is invalid!");
    return;
  }
  const bool isTrue = findings.status == ServerStatusState::isTrue;
  if (isTrue && findings.isSame && !findings.isOld) {
    logger_.log(LogLevel::info, "No need to inform server");
    return;
  }
  if (!isTrue) logger_.log(LogLevel::warning, "Device server status is not true");
  if (findings.isOld) logger_.log(LogLevel::warning, "Stored info is old");
  logger_.log(LogLevel::info, "Attempting server contact");
  database_.deviceStatusUpdate(ServerStatusState::pending);
  contactServer();
}

void Reconciliation::contactServer() {
  client_.request(server::Save{}, [this](const CallResult& result) {
    takeAnswer(result);
    const bool isSaved = database_.deviceStatusUpdate(server::succeeded(result) ? ServerStatusState::isTrue
                                                                                : ServerStatusState::isFalse);
    logOutcome(result, isSaved);
  });
}

void Reconciliation::takeAnswer(const CallResult& result) {
  const auto* answer = std::get_if<server::Answer>(&result);
  const std::optional<support::Node> object = answer ? answer->object() : std::nullopt;
  if (!configuration_.takeFromAnswer(object)) {
    logger_.log(LogLevel::error, "Could not decode configuration");
  }
  const auto createdAt = object ? object->find("createdAt") : std::nullopt;
  if (const auto seconds = createdAt ? createdAt->castDouble() : std::nullopt) {
    database_.deviceCreatedAtStore(*seconds);
  } else {
    logger_.log(LogLevel::error, "Could not get device createdAt from server");
  }
}

void Reconciliation::logOutcome(const CallResult& result, bool isSaved) {
  if (const auto* error = std::get_if<server::CallError>(&result)) {
    logger_.log(LogLevel::info, [&] {
      return "Error while saving to Sorn platform (" + error->localizedDescription() + ")...";
    });
    return;
  }
  if (!isSaved) {
    logger_.log(LogLevel::error, "Error while saving to DB...");
    return;
  }
  logger_.log(LogLevel::info, [this] {
    const std::string rule =
        "\n/*----------------------------------------------------------------------------*/";
    const std::optional<std::string> text =
        database_.context().performBlockAndWait([this]() -> std::optional<std::string> {
          const auto device = database_.currentApplication()->get(SNApplication::device);
          return device ? documents::encodeDocument(store::deviceInfo(*device)) : std::nullopt;
        });
    return "Saved device info..." + rule + "\n" + text.value_or("n/a") + rule;
  });
}

void Reconciliation::repairUser(bool isSameVersion) {
  const store::Ref<store::SNUser> user = database_.currentUser();
  const auto userID = user ? user->get(store::SNUser::userID) : std::nullopt;
  if (!userID) {
    database_.loginDefaultUser();
  } else if (!isSameVersion) {
    logger_.log(LogLevel::info, "SDK Version changed... Re-Logging the user in...");
    if (auto status = SNServerStatus::of(user)) status->setStatus(ServerStatusState::isFalse);
    if (signals_.loginUser) signals_.loginUser(*userID);
  }
  if (!isSameVersion) registerTokenAgain();
}

void Reconciliation::registerTokenAgain() {
  const auto gateway = database_.currentApplication()->get(SNApplication::pushGateway);
  const auto token = gateway ? gateway->get(store::SNPushGateway::token) : std::nullopt;
  if (!token) {
    logger_.log(LogLevel::error, "Could not get device token data...");
    return;
  }
  logger_.log(LogLevel::info,
              "SDK Version changed... Updating device token & Re-registering for push notifications...");
  if (auto status = SNServerStatus::of(gateway)) status->setStatus(ServerStatusState::isFalse);
  if (signals_.updatePushToken) signals_.updatePushToken(*token);
  if (signals_.renewPushRegistration) signals_.renewPushRegistration();
}

void Reconciliation::monitorPlaces() {
  const auto locations = database_.currentApplication()->get(SNApplication::locations);
  if (!locations || !locations->get(store::SNLocations::enabled)) {
    logger_.log(LogLevel::info, "Places preference is disabled...");
    return;
  }
  logger_.log(LogLevel::info, "Places preference is enabled...");
  if (!configuration_.isEnabled(&documents::Features::macroLocation, false)) {
    logger_.log(LogLevel::warning, "Places feature is disabled in your account");
  } else if (signals_.monitorPlaces) {
    signals_.monitorPlaces();
  }
}

}  // namespace sorn::facade
