#include "campaigns/CampaignIndex.h"

#include <algorithm>
#include <utility>

#include "documents/EventCatalogue.h"

namespace sorn::campaigns {

using TriggerType = SornInAppCampaign::Trigger::TriggerType;

CampaignIndex::CampaignIndex(documents::Campaigns campaigns) : campaigns_(std::move(campaigns)) {
  Candidates eligible;
  for (const SornInAppCampaign& campaign : campaigns_) {
    if (campaign.trigger && !ineligibility(campaign)) eligible.push_back(&campaign);
  }
  std::ranges::stable_sort(eligible, std::ranges::greater(),
                           [](const auto* campaign) { return priorityOf(*campaign); });
  for (const SornInAppCampaign* campaign : eligible) {
    const auto& trigger = *campaign->trigger;
    switch (trigger.type) {
      case TriggerType::appOpen:
        appOpen_.push_back(campaign);
        break;
      case TriggerType::inApp:
        inApp_.push_back(campaign);
        break;
      case TriggerType::screen:
        if (trigger.target) screens_[*trigger.target].push_back(campaign);
        break;
      case TriggerType::event:
        if (trigger.target) events_[*trigger.target].push_back(campaign);
        break;
    }
  }
}

bool CampaignIndex::mayAnswer(std::string_view action) const {
  using documents::EventAction;
  if (action == EventAction::appOpened) return !appOpen_.empty();
  if (action == EventAction::screenOpened && !screens_.empty()) return true;
  return !events_.empty() && events_.contains(action);
}

std::span<const SornInAppCampaign* const> CampaignIndex::candidates(const Wanted& wanted) const {
  if (wanted.type == TriggerType::appOpen) return appOpen_;
  if (wanted.type == TriggerType::inApp) return inApp_;
  const ByTarget& byTarget = wanted.type == TriggerType::screen ? screens_ : events_;
  const auto found = wanted.target ? byTarget.find(*wanted.target) : byTarget.end();
  return found == byTarget.end() ? std::span<const SornInAppCampaign* const>() : found->second;
}

}  // namespace sorn::campaigns
