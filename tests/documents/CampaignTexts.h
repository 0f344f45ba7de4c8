#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

#include "documents/SornInAppCampaign.h"

// Texts of campaign documents for the tests.
namespace sorn::documents {

// The least that a campaign needs, in a list.
inline constexpr std::string_view minimalCampaigns =
    R"([{"id":"a","version":{"android":1,"ios":1},"audience":"all",)"
    R"("content":{"viewType":"text","children":[]},)"
    R"("content_metadata":{"type":"dialog","background_color":"#FFF",)"
    R"("show_close_button":true,"dismissable_on_tap":false}}])";

// The text with one piece of it replaced; a piece that is not there would make a test check nothing.
inline std::string replaced(std::string_view text, std::string_view from, std::string_view to) {
  const std::size_t at = text.find(from);
  if (at == std::string_view::npos) throw std::invalid_argument(std::string(from));
  return std::string(text.substr(0, at)).append(to).append(text.substr(at + from.size()));
}

// The minimal campaign with further members.
inline std::string minimalWith(std::string_view members) {
  return replaced(minimalCampaigns, "{\"id\"", "{" + std::string(members) + ",\"id\"");
}
// The minimal campaign with a node that has further members.
inline std::string nodeWith(std::string_view members) {
  return replaced(minimalCampaigns, "{\"viewType\"", "{" + std::string(members) + ",\"viewType\"");
}

}  // namespace sorn::documents
