#pragma once

#include <optional>
#include <string>

#include "documents/SornInAppCampaign.h"

namespace sorn::tool {

// The campaigns of a file. Absent after a line to standard error that says why it can't be read or where its
// first fault is.
std::optional<documents::Campaigns> readCampaigns(const std::string& path);

// The first campaign of a file, or the one of that identifier. Absent, with such a line, also when there is
// none.
std::optional<documents::SornInAppCampaign> readCampaign(const std::string& path,
                                                         const std::optional<std::string>& id);

}  // namespace sorn::tool
