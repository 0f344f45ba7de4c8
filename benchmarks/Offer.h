#pragma once

#include <string>

// One full-screen campaign of 1080 by 1920 points, as a document, and as a page for a web view.
namespace sorn::bench {

inline constexpr int offerWidth = 1080;
inline constexpr int offerHeight = 1920;
inline constexpr int offerHeroHeight = 800;
inline constexpr const char* offerFamily = "Inter";

struct OfferText {
  const char* text;
  int size;
  int weight;
  const char* weightName;
  const char* color;
};

inline constexpr OfferText offerTexts[] = {
    {"Ten days by the lake", 84, 700, "bold", "#1C2541"},
    {"Wooden cabins, a boat of your own and breakfast at the door. Book before Sunday and the last two "
     "nights are "
     "on us, whatever the season.",
     46, 400, "normal", "#3A506B"},
    {"Quiet since 1923: no road leads to the shore, a small ferry does.", 46, 400, "normal", "#3A506B"},
    {"Dogs are welcome, and so are children, who sail for nothing.", 46, 500, "medium", "#3A506B"},
    {"Cancel until the day before.", 38, 300, "light", "#5E5C64"},
};
inline constexpr int offerMargin = 60;
inline constexpr int offerGap = 24;
inline constexpr const char* offerTop = "#FFFFFF";
inline constexpr const char* offerBottom = "#E0E7F0";
inline constexpr const char* offerButton = "#1A5FB4";
inline constexpr const char* offerLabel = "See the cabins";
inline constexpr int offerButtonHeight = 130;
inline constexpr int offerButtonRadius = 30;
inline constexpr int offerLabelSize = 48;

// The campaign file; the picture lies at this address.
std::string offerCampaign(const std::string& pictureUrl);

// The page, with the picture in it; it posts "drawn" when its first complete frame has been painted.
std::string offerPage(const std::string& pictureBytes);

// The picture: a PNG of 640 by 480 pixels.
std::string offerPicture();

}  // namespace sorn::bench
