#include "sorn/SornCustomEvents.h"

#include <string_view>
#include <utility>

#include "documents/EventCatalogue.h"
#include "facade/Library.h"
#include "support/Fault.h"

namespace sorn {

using documents::EventAction;
using documents::EventCategory;

namespace {

facade::Library& library() {
  facade::Library& library = facade::Library::of(Sorn::manager());
  library.refuseAfterFork();
  return library;
}

void logReserved(std::string_view category, std::string_view action, const Dictionary& fixed,
                 const std::optional<Dictionary>& extra) {
  library().services().eventCalls.logReserved(category, action, fixed, extra);
}

// The item's own fixed data and what the operation adds.
Dictionary with(Dictionary fixed, Dictionary more) {
  fixed.merge(more);
  return fixed;
}

void logRetail(std::string_view action, const SornRetailItem& item, Dictionary more = {}) {
  logReserved(EventCategory::retail, action, with(item.fixedData(), std::move(more)), item.data);
}

void logContent(std::string_view action, const SornContentItem& content, Dictionary more = {}) {
  logReserved(EventCategory::content, action, with(content.fixedData(), std::move(more)), content.data);
}

void logCheckout(std::string_view action, const Decimal& totalPrice, const std::string& currency,
                 std::int64_t itemCount, const std::optional<Dictionary>& data) {
  logReserved(EventCategory::retail, action,
              {{"total_price", totalPrice}, {"item_count", itemCount}, {"currency", currency}}, data);
}

}  // namespace

SornCustomEventItem::SornCustomEventItem() { support::fault("an item with an identifier and a type"); }

SornCustomEventItem::SornCustomEventItem(std::string itemID, std::string itemType,
                                         std::optional<std::string> itemName,
                                         std::optional<Dictionary> itemData)
    : id(std::move(itemID)),
      type(std::move(itemType)),
      name(std::move(itemName)),
      data(std::move(itemData)) {}

Dictionary SornCustomEventItem::fixedData() const {
  Dictionary fixed{{"item_id", id}, {"item_type", type}};
  if (name) fixed.emplace("item_name", *name);
  return fixed;
}

SornRetailItem::SornRetailItem(std::string itemID, std::string itemType, std::optional<std::string> itemName,
                               std::optional<Dictionary> itemData)
    : SornCustomEventItem(std::move(itemID), std::move(itemType), std::move(itemName), std::move(itemData)) {
  support::fault("a retail item with a price");
}

SornRetailItem::SornRetailItem(std::string itemID, std::string itemType, std::optional<std::string> itemName,
                               std::optional<std::string> itemBrand, Decimal itemPrice,
                               std::string itemCurrencyCode, std::optional<Dictionary> itemData)
    : SornCustomEventItem(std::move(itemID), std::move(itemType), std::move(itemName), std::move(itemData)),
      brand(std::move(itemBrand)),
      price(std::move(itemPrice)),
      currencyCode(std::move(itemCurrencyCode)) {}

Dictionary SornRetailItem::fixedData() const {
  Dictionary fixed = SornCustomEventItem::fixedData();
  if (brand) fixed.emplace("item_brand", *brand);
  fixed.emplace("item_price", price);
  fixed.emplace("currency", currencyCode);
  return fixed;
}

// Content has keys of its own and none of its base's.
Dictionary SornContentItem::fixedData() const {
  Dictionary fixed{{"content_id", id}, {"content_type", type}};
  if (name) fixed.emplace("content_name", *name);
  return fixed;
}

void SornRetailEvent::purchase(const SornRetailItem& item, const Decimal& quantity, bool success,
                               const std::optional<std::string>& reason) {
  Dictionary more{{"quantity", quantity}, {"success", success}};
  if (reason) more.emplace("reason", *reason);
  logRetail(EventAction::purchase, item, std::move(more));
}

void SornRetailEvent::view(const SornRetailItem& item) { logRetail(EventAction::productView, item); }

void SornRetailEvent::addToCart(const SornRetailItem& item, const Decimal& quantity) {
  logRetail(EventAction::addToCart, item, {{"quantity", quantity}});
}

void SornRetailEvent::addToWishlist(const SornRetailItem& item) {
  logRetail(EventAction::addToWishlist, item);
}

void SornRetailEvent::share(const SornRetailItem& item, const std::string& method) {
  logRetail(EventAction::productShare, item, {{"method", method}});
}

void SornRetailEvent::rate(const SornRetailItem& item, const Decimal& rating) {
  logRetail(EventAction::productRate, item, {{"rating", rating}});
}

void SornRetailEvent::startCheckout(const Decimal& totalPrice, const std::string& currency,
                                    std::int64_t itemCount, const std::optional<Dictionary>& data) {
  logCheckout(EventAction::startCheckout, totalPrice, currency, itemCount, data);
}

void SornRetailEvent::completeCheckout(const Decimal& totalPrice, const std::string& currency,
                                       std::int64_t itemCount, const std::optional<Dictionary>& data) {
  logCheckout(EventAction::completeCheckout, totalPrice, currency, itemCount, data);
}

void SornContentEvent::view(const SornContentItem& content) { logContent(EventAction::contentView, content); }

void SornContentEvent::share(const SornContentItem& content, const std::string& method) {
  logContent(EventAction::contentShare, content, {{"method", method}});
}

void SornContentEvent::rate(const SornContentItem& content, const Decimal& rating) {
  logContent(EventAction::contentRate, content, {{"rating", rating}});
}

void SornGenericEvent::search(const std::string& query, const std::optional<Dictionary>& data) {
  logReserved(EventCategory::generic, EventAction::search, {{"query", query}}, data);
}

SornScreen::SornScreen(std::string name, Sorn::LogScreenMode mode, std::optional<Dictionary> data)
    : name_(std::move(name)), mode_(mode), data_(std::move(data)) {}

void SornScreen::appeared() {
  if (mode_ == Sorn::LogScreenMode::onLoad && std::exchange(hasAppeared_, true)) return;
  try {
    Sorn::manager().logScreenWithName(name_, data_);
  } catch (const SornError& error) {
    facade::Library::of(Sorn::manager()).logger().log(support::LogLevel::error, [&] {
      return "Could not log screen (" + error.localizedDescription() + ")";
    });
  }
}

}  // namespace sorn
