#include "registration/DeviceStep.h"

#include <string>
#include <tuple>

#include "registration/DeviceRecord.h"
#include "support/Calendar.h"

namespace sorn::registration {

using documents::DeviceInfo;
using server::CallResult;
using store::ServerStatusState;
using store::SNApplication;
using store::SNDevice;
using store::SNServerStatus;
using support::LogLevel;

namespace {

std::optional<std::string> firstNumber(const std::optional<std::string>& version) {
  if (!version) return std::nullopt;
  return version->substr(0, version->find('.'));
}

}  // namespace

// The identifier comes first: reading the application's record makes the device's, which takes it up.
void DeviceStep::run(sync::StartFindings& start) {
  device_.identifier();
  const Findings findings = compare();
  start.isSameVersion = findings.isSameVersion;
  contactServerIfNeeded(findings);
}

DeviceStep::Findings DeviceStep::compare() {
  Findings findings;
  const store::Ref<SNApplication> application = database_.currentApplication();
  findings.current = device_.deviceInfo();
  const store::Ref<SNDevice> device = application->get(SNApplication::device);
  const std::optional<SNServerStatus> status = SNServerStatus::of(device);
  if (status) findings.status = status->statusState();
  findings.isOld = isOld(status);
  const DeviceInfo stored = device ? deviceInfo(*device) : DeviceInfo();
  findings.isSame = stored == findings.current;
  findings.isSameVersion = firstNumber(findings.current.sdk_version) == firstNumber(stored.sdk_version);
  if (!findings.isSame) {
    logDifferences(stored, findings.current);
    records_.deviceSynchronisation(findings.current);
    // A record that had no status has just been given one, and with it the service's ignorance of it.
    if (!findings.status) findings.status = ServerStatusState::pending;
  }
  return findings;
}

bool DeviceStep::isOld(const std::optional<SNServerStatus>& status) const {
  const std::optional<Date> lastUpdated = status ? status->lastUpdated() : std::nullopt;
  return !lastUpdated || support::wholeDaysBetween(*lastUpdated, database_.context().now()) > 0;
}

void DeviceStep::logDifferences(const DeviceInfo& stored, const DeviceInfo& current) {
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

void DeviceStep::contactServerIfNeeded(const Findings& findings) {
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
  std::ignore = records_.deviceStatusUpdate(ServerStatusState::pending);
  contactServer();
}

void DeviceStep::contactServer() {
  client_.request(server::Save{}, [this](const CallResult& result) {
    takeAnswer(result);
    const bool isSaved = records_.deviceStatusUpdate(sync::stateOf(result));
    logOutcome(result, isSaved);
  });
}

void DeviceStep::takeAnswer(const CallResult& result) {
  const std::optional<support::Node> object = result ? result->object() : std::nullopt;
  if (!configuration_.takeFromAnswer(object)) {
    logger_.log(LogLevel::error, "Could not decode configuration");
  }
  const auto createdAt = object ? object->find("createdAt") : std::nullopt;
  if (const auto seconds = createdAt ? createdAt->castDouble() : std::nullopt) {
    records_.deviceCreatedAtStore(*seconds);
  } else {
    logger_.log(LogLevel::error, "Could not get device createdAt from server");
  }
}

void DeviceStep::logOutcome(const CallResult& result, bool isSaved) {
  if (!result) {
    logger_.log(LogLevel::info, [&] {
      return "Error while saving to Sorn platform (" + result.error().localizedDescription() + ")...";
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
          return device ? documents::encodeDocument(deviceInfo(*device)) : std::nullopt;
        });
    return "Saved device info..." + rule + "\n" + text.value_or("n/a") + rule;
  });
}

}  // namespace sorn::registration
