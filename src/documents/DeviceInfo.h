#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <tuple>

#include "documents/Record.h"

namespace sorn::documents {

// The facts of the device, the host application and the library at one moment. Each may be absent. The names
// are the keys of the document that the service gets.
struct DeviceInfo {
  std::optional<std::string> entity_id;
  std::optional<std::string> advertising_id;
  std::optional<std::string> device_type;
  std::optional<std::string> device_manufacturer;
  std::optional<std::string> device_model;
  std::optional<double> screen_width;
  std::optional<double> screen_height;
  std::optional<double> screen_density;
  std::optional<std::string> network_operator;
  std::optional<std::string> country_code;
  std::optional<std::string> os_version;
  std::optional<std::string> language;
  std::optional<std::string> region;
  std::optional<std::int64_t> utcoffset;
  std::optional<std::string> app_package;
  std::optional<std::string> app_version;
  std::optional<std::string> app_build;
  std::optional<std::string> sdk_version;
  std::optional<bool> is_jailbroken;
  std::optional<std::string> model_identifier;
  std::optional<std::int64_t> background_refresh_status;

  bool operator==(const DeviceInfo&) const = default;
};

// Required: an absent fact goes out as null.
template <>
struct Description<DeviceInfo> {
  static constexpr auto fields =
      std::tuple{required("entity_id", &DeviceInfo::entity_id),
                 required("advertising_id", &DeviceInfo::advertising_id),
                 required("device_type", &DeviceInfo::device_type),
                 required("device_manufacturer", &DeviceInfo::device_manufacturer),
                 required("device_model", &DeviceInfo::device_model),
                 required("screen_width", &DeviceInfo::screen_width),
                 required("screen_height", &DeviceInfo::screen_height),
                 required("screen_density", &DeviceInfo::screen_density),
                 required("network_operator", &DeviceInfo::network_operator),
                 required("country_code", &DeviceInfo::country_code),
                 required("os_version", &DeviceInfo::os_version),
                 required("language", &DeviceInfo::language),
                 required("region", &DeviceInfo::region),
                 required("utcoffset", &DeviceInfo::utcoffset),
                 required("app_package", &DeviceInfo::app_package),
                 required("app_version", &DeviceInfo::app_version),
                 required("app_build", &DeviceInfo::app_build),
                 required("sdk_version", &DeviceInfo::sdk_version),
                 required("is_jailbroken", &DeviceInfo::is_jailbroken),
                 required("model_identifier", &DeviceInfo::model_identifier),
                 required("background_refresh_status", &DeviceInfo::background_refresh_status)};
};

// Each present field by its name, as text; for the log of differences.
std::map<std::string, std::string> fieldValues(const DeviceInfo& info);

}  // namespace sorn::documents
