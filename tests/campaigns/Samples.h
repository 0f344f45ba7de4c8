#pragma once

#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "documents/SornInAppCampaign.h"

// Campaigns for the tests, written as a publisher writes them.
namespace sorn::campaigns {

// One campaign that shows next to nothing, with further members such as R"("paused":true)".
inline std::string campaignText(std::string_view id, std::string_view members) {
  std::string text = R"({"id":")" + std::string(id) + R"(",)";
  if (members.find("\"version\"") == std::string_view::npos) text += R"("version":{"android":1,"ios":1},)";
  if (members.find("\"audience\"") == std::string_view::npos) text += R"("audience":"all",)";
  text += R"("content":{"viewType":"row","children":[]},"content_metadata":{"type":"dialog",)"
          R"("background_color":"#FFF","show_close_button":true,"dismissable_on_tap":true})";
  if (!members.empty()) text.append(",").append(members);
  return text + "}";
}

// A document of these campaigns.
inline std::string listOf(const std::vector<std::string>& campaigns) {
  std::string text = "[";
  for (const std::string& campaign : campaigns) text += (text.size() > 1 ? "," : "") + campaign;
  return text + "]";
}

inline documents::SornInAppCampaign campaignOf(std::string_view id, std::string_view members) {
  auto campaign = documents::decodeCampaign(campaignText(id, members));
  if (!campaign) throw std::invalid_argument(campaign.error().description());
  return *std::move(campaign);
}

inline constexpr std::string_view onAppOpen = R"("trigger":{"type":"on_app_open"})";

inline std::string onEvent(std::string_view target) {
  return R"("trigger":{"type":"on_performed_event","target":")" + std::string(target) + "\"}";
}

}  // namespace sorn::campaigns
