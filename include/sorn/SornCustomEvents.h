#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "sorn/Export.h"
#include "sorn/Sorn.h"
#include "sorn/SornError.h"
#include "sorn/Value.h"

namespace sorn {

// What a ready-made event is about. All fields are the host's to read and write.
class SORN_EXPORT SornCustomEventItem {
 public:
  // A programming error, which ends the process: an item has an identifier and a type.
  SornCustomEventItem();
  SornCustomEventItem(std::string itemID, std::string itemType, std::optional<std::string> itemName = {},
                      std::optional<Dictionary> itemData = {});
  SornCustomEventItem(const SornCustomEventItem&) = default;
  SornCustomEventItem& operator=(const SornCustomEventItem&) = default;
  virtual ~SornCustomEventItem() = default;

  // The item under the fixed keys of its events.
  virtual Dictionary fixedData() const;

  std::string id;
  std::string type;
  std::optional<std::string> name;
  // Further data of the item's events. Its keys may not be those of the fixed data.
  std::optional<Dictionary> data;
};

// Something that is sold.
class SORN_EXPORT SornRetailItem : public SornCustomEventItem {
 public:
  // A programming error, which ends the process: a retail item has a price.
  SornRetailItem(std::string itemID, std::string itemType, std::optional<std::string> itemName,
                 std::optional<Dictionary> itemData);
  SornRetailItem(std::string itemID, std::string itemType, std::optional<std::string> itemName,
                 std::optional<std::string> itemBrand, Decimal itemPrice, std::string itemCurrencyCode,
                 std::optional<Dictionary> itemData = {});

  Dictionary fixedData() const override;

  std::optional<std::string> brand;
  Decimal price;
  std::string currencyCode;
};

// Something that is published.
class SORN_EXPORT SornContentItem : public SornCustomEventItem {
 public:
  using SornCustomEventItem::SornCustomEventItem;

  Dictionary fixedData() const override;
};

// The events of a shop. Each call records one event and returns when it is stored; after a successful start,
// from any thread.
//
// All throw `featureNotEnabled` when the account reports no usage, `invalidExtraValue` when extra data has a
// key of the fixed data, and `invalidExtraData` for any other fault of the data, whose exact reason is then
// in the log. A refused event leaves no trace.
class SORN_EXPORT SornRetailEvent : public SornCustomEventItem {
 public:
  static void purchase(const SornRetailItem& item, const Decimal& quantity, bool success,
                       const std::optional<std::string>& reason = {});
  static void view(const SornRetailItem& item);
  static void addToCart(const SornRetailItem& item, const Decimal& quantity);
  static void addToWishlist(const SornRetailItem& item);
  static void share(const SornRetailItem& item, const std::string& method);
  static void rate(const SornRetailItem& item, const Decimal& rating);
  static void startCheckout(const Decimal& totalPrice, const std::string& currency, std::int64_t itemCount,
                            const std::optional<Dictionary>& data = {});
  static void completeCheckout(const Decimal& totalPrice, const std::string& currency, std::int64_t itemCount,
                               const std::optional<Dictionary>& data = {});
};

// The events of a publisher; in all else like those of a shop.
class SORN_EXPORT SornContentEvent : public SornCustomEventItem {
 public:
  static void view(const SornContentItem& content);
  static void share(const SornContentItem& content, const std::string& method);
  static void rate(const SornContentItem& content, const Decimal& rating);
};

// Events of any host; in all else like those of a shop.
class SORN_EXPORT SornGenericEvent {
 public:
  static void search(const std::string& query, const std::optional<Dictionary>& data = {});
};

// Logs a screen when the view that shows it appears: a host keeps one beside each view, and calls `appeared`
// each time that the view comes into sight.
class SORN_EXPORT SornScreen {
 public:
  explicit SornScreen(std::string name, Sorn::LogScreenMode mode = Sorn::LogScreenMode::onAppear,
                      std::optional<Dictionary> data = {});

  // Logs the screen as `Sorn::logScreenWithName` does, in mode `onLoad` the first time only. What that
  // refuses is not thrown but logged. One thread.
  void appeared();

 private:
  std::string name_;
  Sorn::LogScreenMode mode_;
  std::optional<Dictionary> data_;
  bool hasAppeared_ = false;
};

}  // namespace sorn
