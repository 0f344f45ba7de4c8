#include "documents/EventCatalogue.h"

#include <algorithm>
#include <array>

namespace sorn::documents {

std::string_view textOf(EventType type) {
  switch (type) {
    case EventType::app_usage:
      return "app_usage";
    case EventType::push_campaign:
      return "push_campaign";
    case EventType::inapp_campaign:
      return "inapp_campaign";
  }
  return "";
}

bool isNamedAction(std::string_view action) {
  using A = EventAction;
  static constexpr std::array named = {A::appOpened,
                                       A::appClosed,
                                       A::pushCampaignOpened,
                                       A::pushCampaignReceived,
                                       A::login,
                                       A::screenOpened,
                                       A::purchase,
                                       A::productView,
                                       A::addToCart,
                                       A::addToWishlist,
                                       A::productShare,
                                       A::productRate,
                                       A::startCheckout,
                                       A::completeCheckout,
                                       A::contentView,
                                       A::contentShare,
                                       A::contentRate,
                                       A::search,
                                       A::inAppCampaignPresented,
                                       A::inAppCampaignDismissed};
  return !action.empty() && action.front() == '+' && std::ranges::find(named, action) != named.end();
}

}  // namespace sorn::documents
