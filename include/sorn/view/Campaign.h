#pragma once

#include <memory>
#include <string_view>
#include <vector>

#include "sorn/Export.h"

namespace sorn::documents {
struct SornInAppCampaign;
struct SornView;
}  // namespace sorn::documents

namespace sorn::view {

// A campaign, and one node of its content. Whoever shows a campaign gets it from the library and hands it on;
// what is in it is no concern of the screen's.
using Campaign = documents::SornInAppCampaign;
using Node = documents::SornView;

// The campaigns of a campaign file, in its order: for previews, and for the tests of whoever draws on another
// toolkit. Throws `std::invalid_argument`, whose text tells the place and the cause of the first fault.
SORN_EXPORT std::vector<std::shared_ptr<const Campaign>> decodeCampaigns(std::string_view json);

}  // namespace sorn::view
