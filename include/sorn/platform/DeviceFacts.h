#pragma once

#include <optional>
#include <string>

namespace sorn::platform {

enum class DeviceIdiom { unspecified, phone, tablet, tv, carplay, mac, vision };

struct Screen {
  double width = 0;    // physical pixels
  double height = 0;   // physical pixels
  double density = 1;  // physical pixels per point
};

// What the system knows about the device. Every fact may be absent, and none may block. Any thread.
class DeviceFacts {
 public:
  virtual ~DeviceFacts() = default;

  virtual DeviceIdiom idiom() const = 0;
  virtual std::optional<std::string> model() const = 0;
  virtual std::optional<Screen> screen() const = 0;
  // Mobile country code directly followed by the mobile network code of the SIM's operator.
  virtual std::optional<std::string> networkOperator() const = 0;
  // ISO country code of the SIM.
  virtual std::optional<std::string> countryCode() const = 0;
  virtual std::optional<std::string> systemVersion() const = 0;
  virtual std::optional<std::string> language() const = 0;
  virtual std::optional<std::string> region() const = 0;
  // Seconds east of Greenwich at this moment.
  virtual int secondsFromGMT() const = 0;
  virtual std::optional<std::string> machine() const = 0;

  // Advertising identifiers: Linux has none, so the service is absent unless a host brings one.
  virtual bool hasAdvertisingService() const { return false; }
  virtual bool isAdvertisingTrackingEnabled() const { return false; }
  virtual std::optional<std::string> advertisingIdentifier() const { return std::nullopt; }

  // Raw authorization of the location service: 1 restricted, 2 denied, 3 always, 4 when in use; absent
  // without a location service.
  virtual std::optional<int> locationAuthorization() const { return std::nullopt; }
};

}  // namespace sorn::platform
