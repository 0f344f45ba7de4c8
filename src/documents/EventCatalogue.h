#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace sorn::documents {

enum class EventType : std::uint8_t { app_usage, push_campaign, inapp_campaign };

// What kind of campaign an event belongs to; stored as its position plus one.
using EventCampaign = std::int64_t;

// The names that the library reserves. A leading "+" keeps them apart from what hosts may choose.
struct EventCategory {
  static constexpr std::string_view none = "NO_CATEGORY";
  static constexpr std::string_view retail = "+RETAIL";
  static constexpr std::string_view content = "+CONTENT";
  static constexpr std::string_view generic = "+GENERIC";
};

struct EventAction {
  static constexpr std::string_view appOpened = "+APP_OPENED";
  static constexpr std::string_view appClosed = "+APP_CLOSED";
  static constexpr std::string_view pushCampaignOpened = "+PUSH_CAMPAIGN_OPENED";
  static constexpr std::string_view pushCampaignReceived = "+PUSH_CAMPAIGN_RECEIVED";
  static constexpr std::string_view login = "+LOGIN";
  static constexpr std::string_view screenOpened = "+SCREEN_OPENED";
  static constexpr std::string_view purchase = "+PURCHASE";
  static constexpr std::string_view productView = "+PRODUCT_VIEW";
  static constexpr std::string_view addToCart = "+ADD_TO_CART";
  static constexpr std::string_view addToWishlist = "+ADD_TO_WISHLIST";
  static constexpr std::string_view productShare = "+PRODUCT_SHARE";
  static constexpr std::string_view productRate = "+PRODUCT_RATE";
  static constexpr std::string_view startCheckout = "+START_CHECKOUT";
  static constexpr std::string_view completeCheckout = "+COMPLETE_CHECKOUT";
  static constexpr std::string_view contentView = "+CONTENT_VIEW";
  static constexpr std::string_view contentShare = "+CONTENT_SHARE";
  static constexpr std::string_view contentRate = "+CONTENT_RATE";
  static constexpr std::string_view search = "+SEARCH";
  static constexpr std::string_view inAppCampaignPresented = "+INAPP_CAMPAIGN_PRESENTED";
  static constexpr std::string_view inAppCampaignDismissed = "+INAPP_CAMPAIGN_DISMISSED";
};

std::string_view textOf(EventType type);

// Whether the action is one of the reserved ones; any other is the host's own.
bool isNamedAction(std::string_view action);

}  // namespace sorn::documents
