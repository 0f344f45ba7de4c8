#pragma once

#include "store/ManagedObject.h"

namespace sorn::store {

class SNApplication;
class SNEvent;
class SNInboxItem;

// What the service knows as the installation. The descriptive attributes are a copy of the device information
// and are written together.
class SNDevice final : public ManagedObject {
 public:
  static const EntityDescription& entity();
  SNDevice() : ManagedObject(entity()) {}

  // The stable device identifier; the lookup key.
  static constexpr Attribute<std::string> entityID{0, "entityID"};
  static constexpr Attribute<std::string> advertisingID{1, "advertisingID"};
  static constexpr Attribute<std::string> appBuild{2, "appBuild"};
  static constexpr Attribute<std::string> appPackage{3, "appPackage"};
  static constexpr Attribute<std::string> appVersion{4, "appVersion"};
  static constexpr Attribute<std::string> sdkVersion{5, "sdkVersion"};
  static constexpr Attribute<std::int64_t> backgroundRefreshStatus{6, "backgroundRefreshStatus"};
  static constexpr Attribute<std::string> countryCode{7, "countryCode"};
  static constexpr Attribute<std::string> deviceManufacturer{8, "deviceManufacturer"};
  static constexpr Attribute<std::string> deviceModel{9, "deviceModel"};
  static constexpr Attribute<std::string> modelIdentifier{10, "modelIdentifier"};
  static constexpr Attribute<std::string> deviceType{11, "deviceType"};
  static constexpr Attribute<bool> isJailbroken{12, "isJailbroken"};
  static constexpr Attribute<std::string> language{13, "language"};
  static constexpr Attribute<std::string> region{14, "region"};
  static constexpr Attribute<std::string> networkOperator{15, "networkOperator"};
  static constexpr Attribute<std::string> osVersion{16, "osVersion"};
  static constexpr Attribute<double> screenDensity{17, "screenDensity"};
  static constexpr Attribute<double> screenHeight{18, "screenHeight"};
  static constexpr Attribute<double> screenWidth{19, "screenWidth"};
  // Minutes.
  static constexpr Attribute<std::int64_t> utcOffset{20, "utcOffset"};
  // The creation time that the service gave; absent until it has.
  static constexpr Attribute<Date> createdAt{21, "createdAt"};
  // Service time of the last inbox fetch.
  static constexpr Attribute<Date> lastInboxAccess{22, "lastInboxAccess"};
  // Declared; the push gateway's is the one in use.
  static constexpr Attribute<std::int64_t> notificationTypes{23, "notificationTypes"};

  static constexpr ToOne<SNApplication> application{24, "application", "device"};

  static constexpr Attribute<bool> hasServerStatus{25, "hasServerStatus"};
  static constexpr Attribute<std::int64_t> status{26, "status"};
  static constexpr Attribute<Date> statusUpdated{27, "statusUpdated"};

  static constexpr ToMany<SNEvent> events{11};
  static constexpr ToMany<SNInboxItem> inboxItems{15};

  static constexpr auto columns = columnsOf(
      entityID, advertisingID, appBuild, appPackage, appVersion, sdkVersion, backgroundRefreshStatus,
      countryCode, deviceManufacturer, deviceModel, modelIdentifier, deviceType, isJailbroken, language,
      region, networkOperator, osVersion, screenDensity, screenHeight, screenWidth, utcOffset, createdAt,
      lastInboxAccess, notificationTypes, application, hasServerStatus, status, statusUpdated);
};

}  // namespace sorn::store
