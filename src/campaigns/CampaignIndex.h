#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "campaigns/Triggers.h"
#include "documents/SornInAppCampaign.h"

namespace sorn::campaigns {

// The campaigns of an account, prepared so that an event costs as much as the campaigns that it may trigger,
// not as those that are loaded. Immutable.
class CampaignIndex {
 public:
  CampaignIndex() = default;
  explicit CampaignIndex(documents::Campaigns campaigns);

  // All, in the order of the document.
  const documents::Campaigns& campaigns() const { return campaigns_; }

  // Whether an event of this action can trigger anything; its dictionary may still rule it out.
  bool mayAnswer(std::string_view action) const;
  // Eligible campaigns with the trigger that is wanted, in the order in which they are tried: by priority,
  // equal ones in the order of the document. Those of the kind `inApp` still have their conditions to be
  // checked.
  std::span<const SornInAppCampaign* const> candidates(const Wanted& wanted) const;

 private:
  using Candidates = std::vector<const SornInAppCampaign*>;
  struct Hash : std::hash<std::string_view> {
    using is_transparent = void;
  };
  using ByTarget = std::unordered_map<std::string, Candidates, Hash, std::equal_to<>>;

  documents::Campaigns campaigns_;
  Candidates appOpen_;
  Candidates inApp_;
  ByTarget screens_;
  ByTarget events_;
};

}  // namespace sorn::campaigns
