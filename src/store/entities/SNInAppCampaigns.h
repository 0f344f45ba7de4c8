#pragma once

#include "store/ManagedObject.h"

namespace sorn::store {

// How often a campaign has been presented, and when last.
class SNInAppCampaigns final : public ManagedObject {
 public:
  static const EntityDescription& entity();
  SNInAppCampaigns() : ManagedObject(entity()) {}

  // The campaign's identifier.
  static constexpr Attribute<std::string> id{0, "campaignID"};
  // Absent until first shown.
  static constexpr Attribute<Date> lastPresentation{1, "lastPresentation"};
  static constexpr Scalar<std::int16_t> presentationCount{2, "presentationCount"};

  static constexpr auto columns = columnsOf(id, lastPresentation, presentationCount);
};

}  // namespace sorn::store
