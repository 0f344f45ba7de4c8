#pragma once

#include "store/ManagedObject.h"

namespace sorn::store {

class SNDevice;
class SNLocations;
class SNPlace;
class SNPreferences;
class SNPushGateway;
class SNSession;
class SNUser;

// The host application as configured by one key and secret. A changed key or secret makes a second record;
// the first stays behind.
class SNApplication final : public ManagedObject {
 public:
  static const EntityDescription& entity();
  SNApplication() : ManagedObject(entity()) {}

  static constexpr Attribute<std::string> applicationKey{0, "applicationKey"};
  static constexpr Attribute<std::string> applicationSecret{1, "applicationSecret"};
  // Declared; neither read nor written.
  static constexpr Attribute<std::string> environment{2, "environment"};
  static constexpr Attribute<bool> inProduction{3, "inProduction"};
  static constexpr Attribute<Date> lastAccessed{4, "lastAccessed"};

  // On whose behalf events and inbox calls run.
  static constexpr ToOne<SNUser> activeUser{5, "activeUser", "activeInApplication"};
  static constexpr ToOne<SNDevice> device{6, "device", "application"};
  static constexpr ToOne<SNPreferences> preferences{7, "preferences", "application"};
  static constexpr ToOne<SNPushGateway> pushGateway{8, "pushGateway", "application"};
  static constexpr ToOne<SNLocations> locations{9, "locations", "application"};

  static constexpr ToMany<SNSession> sessions{4};
  static constexpr ToMany<SNUser> users{3};
  static constexpr ToMany<SNPlace> places{5};

  static constexpr auto columns =
      columnsOf(applicationKey, applicationSecret, environment, inProduction, lastAccessed, activeUser,
                device, preferences, pushGateway, locations);
};

}  // namespace sorn::store
