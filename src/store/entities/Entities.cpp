#include <array>

#include "store/ManagedObjectContext.h"
#include "store/Schema.h"
#include "store/entities/SNApplication.h"
#include "store/entities/SNDevice.h"
#include "store/entities/SNEvent.h"
#include "store/entities/SNInAppCampaigns.h"
#include "store/entities/SNInboxItem.h"
#include "store/entities/SNLocations.h"
#include "store/entities/SNPlace.h"
#include "store/entities/SNPlaceTrigger.h"
#include "store/entities/SNPreferences.h"
#include "store/entities/SNPushGateway.h"
#include "store/entities/SNSession.h"
#include "store/entities/SNUser.h"
#include "support/Uuid.h"

namespace sorn::store {

namespace {

template <class Record>
std::shared_ptr<ManagedObject> makeRecord() {
  return std::make_shared<Record>();
}

template <class Record>
constexpr std::size_t statusColumnOf() {
  if constexpr (requires { Record::hasServerStatus; }) return Record::hasServerStatus.column;
  return EntityDescription::noStatus;
}

constexpr std::uint64_t columnsOfEachSave(std::span<const Column> all) {
  std::uint64_t columns = 0;
  for (std::size_t column = 0; column < all.size(); ++column) {
    if (all[column].writeOut == WriteOut::eachSave) columns |= std::uint64_t{1} << column;
  }
  return columns;
}

template <class Record>
constexpr EntityDescription describe(std::string_view name, std::span<const Index> indexes = {}) {
  return {name,
          Record::columns,
          indexes,
          statusColumnOf<Record>(),
          &makeRecord<Record>,
          columnsOfEachSave(Record::columns)};
}

constexpr std::array indexesOfSNDevice = {Index{"SNDeviceByEntityID", "entityID"}};
constexpr std::array indexesOfSNUser = {Index{"SNUserByUserID", "userID"}};
// One for the few rows that either condition holds for: each index costs every event that is stored.
constexpr std::array indexesOfSNEvent = {
    Index{"SNEventToHandle", "id", "status IS NOT 0 OR category IS NULL"}};
constexpr std::array indexesOfSNInboxItem = {Index{"SNInboxItemByCampaignID", "campaignID"}};
constexpr std::array indexesOfSNInAppCampaigns = {Index{"SNInAppCampaignsByID", "campaignID"}};

constexpr EntityDescription applicationEntity = describe<SNApplication>("SNApplication");
constexpr EntityDescription deviceEntity = describe<SNDevice>("SNDevice", indexesOfSNDevice);
constexpr EntityDescription userEntity = describe<SNUser>("SNUser", indexesOfSNUser);
constexpr EntityDescription sessionEntity = describe<SNSession>("SNSession");
constexpr EntityDescription eventEntity = describe<SNEvent>("SNEvent", indexesOfSNEvent);
constexpr EntityDescription inboxItemEntity = describe<SNInboxItem>("SNInboxItem", indexesOfSNInboxItem);
constexpr EntityDescription preferencesEntity = describe<SNPreferences>("SNPreferences");
constexpr EntityDescription pushGatewayEntity = describe<SNPushGateway>("SNPushGateway");
constexpr EntityDescription locationsEntity = describe<SNLocations>("SNLocations");
constexpr EntityDescription placeEntity = describe<SNPlace>("SNPlace");
constexpr EntityDescription placeTriggerEntity = describe<SNPlaceTrigger>("SNPlaceTrigger");
constexpr EntityDescription inAppCampaignsEntity =
    describe<SNInAppCampaigns>("SNInAppCampaigns", indexesOfSNInAppCampaigns);

}  // namespace

const EntityDescription& SNApplication::entity() { return applicationEntity; }
const EntityDescription& SNDevice::entity() { return deviceEntity; }
const EntityDescription& SNUser::entity() { return userEntity; }
const EntityDescription& SNSession::entity() { return sessionEntity; }
const EntityDescription& SNEvent::entity() { return eventEntity; }
const EntityDescription& SNInboxItem::entity() { return inboxItemEntity; }
const EntityDescription& SNPreferences::entity() { return preferencesEntity; }
const EntityDescription& SNPushGateway::entity() { return pushGatewayEntity; }
const EntityDescription& SNLocations::entity() { return locationsEntity; }
const EntityDescription& SNPlace::entity() { return placeEntity; }
const EntityDescription& SNPlaceTrigger::entity() { return placeTriggerEntity; }
const EntityDescription& SNInAppCampaigns::entity() { return inAppCampaignsEntity; }

void SNEvent::awakeFromInsert(ManagedObjectContext& /*context*/) { set(eventID, support::makeUuid()); }

void SNSession::awakeFromInsert(ManagedObjectContext& context) {
  set(createdAt, context.now());
  set(sessionID, support::makeUuid());
}

std::span<const EntityDescription* const> allEntities() {
  static constexpr std::array entities = {&applicationEntity, &deviceEntity,       &userEntity,
                                          &sessionEntity,     &eventEntity,        &inboxItemEntity,
                                          &preferencesEntity, &pushGatewayEntity,  &locationsEntity,
                                          &placeEntity,       &placeTriggerEntity, &inAppCampaignsEntity};
  return entities;
}

}  // namespace sorn::store
