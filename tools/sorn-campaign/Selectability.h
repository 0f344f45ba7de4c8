#pragma once

#include <string>
#include <vector>

#include "documents/SornInAppCampaign.h"

namespace sorn::tool {

// Why a campaign that is well formed is never selected, whatever happens on the device, and the value that
// is to blame, from the campaign down.
struct Obstacle {
  std::vector<documents::PathStep> path;
  std::string reason;
};

std::vector<Obstacle> obstaclesOf(const documents::SornInAppCampaign& campaign);

}  // namespace sorn::tool
