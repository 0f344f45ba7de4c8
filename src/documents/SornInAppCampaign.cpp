#include "documents/SornInAppCampaign.h"

#include "documents/Record.h"
#include "documents/SornInAppCampaignDescription.h"

namespace sorn::documents {

Decoded<Campaigns> decodeCampaigns(std::string_view json) { return decodeDocument<Campaigns>(json); }

Decoded<SornInAppCampaign> decodeCampaign(std::string_view json) {
  return decodeDocument<SornInAppCampaign>(json);
}

Decoded<SornInAppCampaign> decodeCampaign(const support::Node& object) {
  return decodeValue<SornInAppCampaign>(object);
}

EachCampaign decodeEachCampaign(std::string_view json) {
  EachCampaign each;
  if (const auto document = support::Document::parse(json)) {
    ValueForm<Campaigns>::decode(document->root(), each.campaigns, each.failure);
  } else {
    each.failure.syntax(document.error().description);
  }
  return each;
}

std::optional<std::string> encodeCampaigns(const Campaigns& campaigns, support::Writer::Form form) {
  return encodeDocument(campaigns, form);
}

}  // namespace sorn::documents
