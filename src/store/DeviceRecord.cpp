#include "store/DeviceRecord.h"

#include <tuple>

namespace sorn::store {

namespace {

using documents::DeviceInfo;

// Which field of the information lies in which attribute of the record.
constexpr auto fieldsOfDevice = std::tuple{
    std::pair{&DeviceInfo::entity_id, SNDevice::entityID},
    std::pair{&DeviceInfo::advertising_id, SNDevice::advertisingID},
    std::pair{&DeviceInfo::device_type, SNDevice::deviceType},
    std::pair{&DeviceInfo::device_manufacturer, SNDevice::deviceManufacturer},
    std::pair{&DeviceInfo::device_model, SNDevice::deviceModel},
    std::pair{&DeviceInfo::screen_width, SNDevice::screenWidth},
    std::pair{&DeviceInfo::screen_height, SNDevice::screenHeight},
    std::pair{&DeviceInfo::screen_density, SNDevice::screenDensity},
    std::pair{&DeviceInfo::network_operator, SNDevice::networkOperator},
    std::pair{&DeviceInfo::country_code, SNDevice::countryCode},
    std::pair{&DeviceInfo::os_version, SNDevice::osVersion},
    std::pair{&DeviceInfo::language, SNDevice::language},
    std::pair{&DeviceInfo::region, SNDevice::region},
    std::pair{&DeviceInfo::utcoffset, SNDevice::utcOffset},
    std::pair{&DeviceInfo::app_package, SNDevice::appPackage},
    std::pair{&DeviceInfo::app_version, SNDevice::appVersion},
    std::pair{&DeviceInfo::app_build, SNDevice::appBuild},
    std::pair{&DeviceInfo::sdk_version, SNDevice::sdkVersion},
    std::pair{&DeviceInfo::is_jailbroken, SNDevice::isJailbroken},
    std::pair{&DeviceInfo::model_identifier, SNDevice::modelIdentifier},
    std::pair{&DeviceInfo::background_refresh_status, SNDevice::backgroundRefreshStatus},
};

}  // namespace

void copyDeviceInfo(const DeviceInfo& info, SNDevice& device) {
  std::apply([&](const auto&... field) { (device.set(field.second, info.*(field.first)), ...); },
             fieldsOfDevice);
}

DeviceInfo deviceInfo(const SNDevice& device) {
  DeviceInfo info;
  std::apply([&](const auto&... field) { ((info.*(field.first) = device.get(field.second)), ...); },
             fieldsOfDevice);
  return info;
}

}  // namespace sorn::store
