#include "sorn/view/Campaign.h"

#include <stdexcept>
#include <utility>

#include "documents/SornInAppCampaign.h"

namespace sorn::view {

std::vector<std::shared_ptr<const Campaign>> decodeCampaigns(std::string_view json) {
  auto decoded = documents::decodeCampaigns(json);
  if (!decoded) throw std::invalid_argument(decoded.error().description());
  std::vector<std::shared_ptr<const Campaign>> campaigns;
  campaigns.reserve(decoded->size());
  for (Campaign& campaign : *decoded) campaigns.push_back(std::make_shared<Campaign>(std::move(campaign)));
  return campaigns;
}

}  // namespace sorn::view
