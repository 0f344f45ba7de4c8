// Any bytes as a campaign file: one failure or records that are written and decoded to the same; collecting
// every fault begins with the same one; and the tool's reader, which knows the places, takes and refuses what
// the library's reader does.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "documents/SornInAppCampaign.h"
#include "sorn-campaign/Validation.h"
#include "support/Fault.h"
#include "support/json/Json.h"

namespace {

using namespace sorn::documents;
using sorn::support::fault;
using sorn::tool::Finding;

void clearIds(SornView& node) {
  node.id.clear();
  for (SornView& child : node.children) clearIds(child);
}

void checkRoundTrip(Campaigns campaigns) {
  const std::optional<std::string> encoded = encodeCampaigns(campaigns);
  if (!encoded) fault("decoded campaigns can be encoded");
  auto again = decodeCampaigns(*encoded);
  if (!again) fault("encoded campaigns can be decoded");
  for (SornInAppCampaign& campaign : campaigns) clearIds(campaign.content);
  for (SornInAppCampaign& campaign : *again) clearIds(campaign.content);
  if (campaigns != *again) fault("campaigns survive being written and read");
}

void checkFaults(std::string_view text, const DecodingFailure& first) {
  const DecodingFailure all = decodeEachCampaign(text).failure;
  if (all.count() == 0 || all.description() != first.description())
    fault("the first of all faults is the one");
}

void checkFindings(std::string_view text, bool isDecoded) {
  bool isFaulty = false;
  bool isShortPaddingAlone = true;
  for (const Finding& finding : sorn::tool::validate(text)) {
    if (finding.place.line == 0 || finding.place.column > text.size() + 1) fault("a place within the text");
    if (finding.weight == Finding::Weight::note) continue;
    isFaulty = true;
    if (!finding.path.ends_with(".padding")) isShortPaddingAlone = false;
  }
  if (isDecoded ? isFaulty && !isShortPaddingAlone : !isFaulty) fault("the tool and the decoder agree");
}

void checkSource(std::string_view text) {
  sorn::tool::SyntaxFault syntax;
  const bool isRead = sorn::tool::readSource(text, syntax).has_value();
  if (isRead != static_cast<bool>(sorn::support::Document::parse(text))) fault("both readers agree");
  if (syntax.offset > text.size()) fault("a syntax fault within the text");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  const auto campaigns = decodeCampaigns(text);
  if (campaigns) {
    checkRoundTrip(*campaigns);
  } else {
    checkFaults(text, campaigns.error());
  }
  checkFindings(text, static_cast<bool>(campaigns));
  checkSource(text);
  return 0;
}
