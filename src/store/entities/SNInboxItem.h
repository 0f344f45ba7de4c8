#pragma once

#include "store/ManagedObject.h"

namespace sorn::store {

class SNDevice;
class SNUser;

// A message of the inbox, addressed either to a device or to a user.
class SNInboxItem final : public ManagedObject {
 public:
  static const EntityDescription& entity();
  SNInboxItem() : ManagedObject(entity()) {}

  static constexpr Attribute<std::string> campaignID{0, "campaignID"};
  // Made when the item first arrives; the identifier that a host sees.
  static constexpr Attribute<std::string> localUUID{1, "localUUID"};
  static constexpr Attribute<std::string> title{2, "title"};
  static constexpr Attribute<std::string> text{3, "text"};
  static constexpr Attribute<std::string> url{4, "url"};
  static constexpr Attribute<std::string> image{5, "image"};
  static constexpr Attribute<std::string> action{6, "action"};
  static constexpr Attribute<std::int64_t> actionType{7, "actionType"};
  static constexpr Attribute<std::int64_t> category{8, "category"};
  static constexpr Attribute<std::int64_t> campaignType{9, "campaignType"};
  // JSON text of the custom data.
  static constexpr Attribute<std::string> extra{10, "extra"};
  static constexpr Attribute<Date> createdAt{11, "createdAt"};
  static constexpr Attribute<Date> readAt{12, "readAt"};
  // When the user deleted it; the record stays until the service confirms.
  static constexpr Attribute<Date> deletedAt{13, "deletedAt"};
  // Absent for no end.
  static constexpr Attribute<Date> expiresAt{14, "expiresAt"};

  static constexpr ToOne<SNDevice> device{15, "device"};
  static constexpr ToOne<SNUser> user{16, "user"};

  static constexpr Attribute<bool> hasServerStatus{17, "hasServerStatus"};
  static constexpr Attribute<std::int64_t> status{18, "status"};
  static constexpr Attribute<Date> statusUpdated{19, "statusUpdated"};

  static constexpr auto columns = columnsOf(
      campaignID, localUUID, title, text, url, image, action, actionType, category, campaignType, extra,
      createdAt, readAt, deletedAt, expiresAt, device, user, hasServerStatus, status, statusUpdated);
};

}  // namespace sorn::store
