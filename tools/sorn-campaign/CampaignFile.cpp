#include "sorn-campaign/CampaignFile.h"

#include <cstdio>
#include <utility>

#include "support/BoundedFile.h"

namespace sorn::tool {

namespace {

constexpr std::size_t longestFile = std::size_t{64} << 20;

void complain(const std::string& path, const std::string& reason) {
  std::fprintf(stderr, "sorn-campaign: %s: %s\n", path.c_str(), reason.c_str());
}

}  // namespace

std::optional<documents::Campaigns> readCampaigns(const std::string& path) {
  const auto text = support::readBounded(path, longestFile);
  if (!text) {
    complain(path, text.error().message());
    return std::nullopt;
  }
  auto campaigns = documents::decodeCampaigns(*text);
  if (campaigns) return *std::move(campaigns);
  complain(path, campaigns.error().description());
  return std::nullopt;
}

std::optional<documents::SornInAppCampaign> readCampaign(const std::string& path,
                                                         const std::optional<std::string>& id) {
  auto campaigns = readCampaigns(path);
  if (!campaigns) return std::nullopt;
  for (auto& campaign : *campaigns)
    if (!id || campaign.id == *id) return std::move(campaign);
  complain(path, id ? "no campaign has the identifier " + *id : "no campaigns");
  return std::nullopt;
}

}  // namespace sorn::tool
