#include "sorn-campaign/CampaignFile.h"

#include <cstdio>
#include <system_error>
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
  std::error_code error;
  const std::string text = support::readBounded(path, longestFile, error);
  if (error) {
    complain(path, error.message());
    return std::nullopt;
  }
  documents::DecodingFailure failure;
  auto campaigns = documents::decodeCampaigns(text, failure);
  if (!campaigns) complain(path, failure.description());
  return campaigns;
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
