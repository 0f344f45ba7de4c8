#pragma once

#include <string>

#include "store/ManagedObject.h"

namespace sorn::store {

class SNDevice;
class SNSession;
class SNUser;

// A recorded event that awaits its report; deleted once the service has it.
class SNEvent final : public ManagedObject {
 public:
  static const EntityDescription& entity();
  SNEvent() : ManagedObject(entity()) {}

  static constexpr Attribute<std::string> eventID{0, "eventID"};
  static constexpr Attribute<std::string> type{1, "type"};
  static constexpr Attribute<std::string> category{2, "category"};
  static constexpr Attribute<std::string> action{3, "action"};
  static constexpr Attribute<std::string> campaignID{4, "campaignID"};
  static constexpr Attribute<std::int64_t> campaignType{5, "campaignType"};
  // JSON text of the attributes.
  static constexpr Attribute<std::string> extra{6, "extra"};
  // Absent, like the serial number, for an event outside any session.
  static constexpr Attribute<std::string> sessionID{7, "sessionID"};
  // Position in the session, from 1.
  static constexpr Attribute<std::int64_t> serialNumber{8, "serialNumber"};
  static constexpr Attribute<Date> timestamp{9, "timestamp"};
  // Declared; neither read nor written.
  static constexpr Attribute<double> duration{10, "duration"};

  static constexpr ToOne<SNDevice> device{11, "device"};
  static constexpr ToOne<SNUser> user{12, "user"};
  static constexpr ToOne<SNSession> session{13, "session"};

  static constexpr Attribute<bool> hasServerStatus{14, "hasServerStatus"};
  static constexpr Attribute<std::int64_t> status{15, "status"};
  static constexpr Attribute<Date> statusUpdated{16, "statusUpdated"};

  static constexpr auto columns =
      columnsOf(eventID, type, category, action, campaignID, campaignType, extra, sessionID, serialNumber,
                timestamp, duration, device, user, session, hasServerStatus, status, statusUpdated);

 protected:
  void awakeFromInsert(ManagedObjectContext& context) override;
};

}  // namespace sorn::store
