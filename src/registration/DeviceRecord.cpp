#include "registration/DeviceRecord.h"

#include <tuple>

namespace sorn::registration {

namespace {

using documents::DeviceInfo;

// Which field of the information lies in which attribute of the record.
constexpr auto fieldsOfDevice = std::tuple{
    std::pair{&DeviceInfo::entity_id, store::SNDevice::entityID},
    std::pair{&DeviceInfo::advertising_id, store::SNDevice::advertisingID},
    std::pair{&DeviceInfo::device_type, store::SNDevice::deviceType},
    std::pair{&DeviceInfo::device_manufacturer, store::SNDevice::deviceManufacturer},
    std::pair{&DeviceInfo::device_model, store::SNDevice::deviceModel},
    std::pair{&DeviceInfo::screen_width, store::SNDevice::screenWidth},
    std::pair{&DeviceInfo::screen_height, store::SNDevice::screenHeight},
    std::pair{&DeviceInfo::screen_density, store::SNDevice::screenDensity},
    std::pair{&DeviceInfo::network_operator, store::SNDevice::networkOperator},
    std::pair{&DeviceInfo::country_code, store::SNDevice::countryCode},
    std::pair{&DeviceInfo::os_version, store::SNDevice::osVersion},
    std::pair{&DeviceInfo::language, store::SNDevice::language},
    std::pair{&DeviceInfo::region, store::SNDevice::region},
    std::pair{&DeviceInfo::utcoffset, store::SNDevice::utcOffset},
    std::pair{&DeviceInfo::app_package, store::SNDevice::appPackage},
    std::pair{&DeviceInfo::app_version, store::SNDevice::appVersion},
    std::pair{&DeviceInfo::app_build, store::SNDevice::appBuild},
    std::pair{&DeviceInfo::sdk_version, store::SNDevice::sdkVersion},
    std::pair{&DeviceInfo::is_jailbroken, store::SNDevice::isJailbroken},
    std::pair{&DeviceInfo::model_identifier, store::SNDevice::modelIdentifier},
    std::pair{&DeviceInfo::background_refresh_status, store::SNDevice::backgroundRefreshStatus},
};

}  // namespace

void copyDeviceInfo(const DeviceInfo& info, store::SNDevice& device) {
  std::apply([&](const auto&... field) { (device.set(field.second, info.*(field.first)), ...); },
             fieldsOfDevice);
}

DeviceInfo deviceInfo(const store::SNDevice& device) {
  DeviceInfo info;
  std::apply([&](const auto&... field) { ((info.*(field.first) = device.get(field.second)), ...); },
             fieldsOfDevice);
  return info;
}

}  // namespace sorn::registration
