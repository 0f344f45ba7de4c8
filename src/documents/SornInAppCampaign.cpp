#include "documents/SornInAppCampaign.h"

#include "documents/Record.h"
#include "documents/SornInAppCampaignDescription.h"

namespace sorn::documents {

std::optional<Campaigns> decodeCampaigns(std::string_view json, DecodingFailure& failure) {
  return decodeDocument<Campaigns>(json, failure);
}

std::optional<SornInAppCampaign> decodeCampaign(std::string_view json, DecodingFailure& failure) {
  return decodeDocument<SornInAppCampaign>(json, failure);
}

std::optional<SornInAppCampaign> decodeCampaign(const support::Node& object, DecodingFailure& failure) {
  std::optional<SornInAppCampaign> campaign(std::in_place);
  if (!decode(object, *campaign, failure)) campaign.reset();
  return campaign;
}

Campaigns decodeEachCampaign(std::string_view json, DecodingFailure& failure) {
  Campaigns campaigns;
  support::JsonError error;
  const auto document = support::Document::parse(json, support::Fragments::no, &error);
  if (document) {
    ValueForm<Campaigns>::decode(document->root(), campaigns, failure);
  } else {
    failure.syntax(error.description);
  }
  return campaigns;
}

std::optional<std::string> encodeCampaigns(const Campaigns& campaigns, support::Writer::Form form) {
  return encodeDocument(campaigns, form);
}

}  // namespace sorn::documents
