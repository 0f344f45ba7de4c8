#include "EventCommands.h"

#include <functional>
#include <map>
#include <optional>
#include <set>
#include <stdexcept>
#include <string_view>

#include "sorn/SornCustomEvents.h"

namespace sorn::console {

namespace {

// The arguments of a call by their labels. Every one that is there has to be asked for.
class Labels {
 public:
  explicit Labels(const Dictionary& values) : values_(values) {}

  template <class T>
  std::optional<T> optional(std::string_view label) {
    const Value* value = find(label);
    if (!value) return std::nullopt;
    const T* held = value->as<T>();
    if (!held) throw std::invalid_argument("\"" + std::string(label) + "\" is of another type");
    return *held;
  }
  template <class T>
  T wanted(std::string_view label) {
    auto value = optional<T>(label);
    if (!value) throw std::invalid_argument("\"" + std::string(label) + "\" is missing");
    return *std::move(value);
  }
  // As text or number.
  Decimal decimal(std::string_view label) {
    const Value* value = find(label);
    if (!value) throw std::invalid_argument("\"" + std::string(label) + "\" is missing");
    if (const auto* whole = value->as<std::int64_t>()) return Decimal(*whole);
    if (const auto* number = value->as<double>()) return Decimal(*number);
    if (const auto* decimal = value->as<Decimal>()) return *decimal;
    return Decimal(wanted<std::string>(label));
  }
  void expectNoMore() const {
    for (const auto& [label, value] : values_) {
      if (!asked_.contains(label)) throw std::invalid_argument("there is no argument \"" + label + "\"");
    }
  }

 private:
  const Value* find(std::string_view label) {
    const auto found = values_.find(std::string(label));
    if (found == values_.end()) return nullptr;
    asked_.insert(found->first);
    return &found->second;
  }

  const Dictionary& values_;
  std::set<std::string> asked_;
};

SornRetailItem retailItem(Labels& arguments) {
  const auto values = arguments.wanted<Dictionary>("item");
  Labels item(values);
  SornRetailItem made(item.wanted<std::string>("id"), item.wanted<std::string>("type"),
                      item.optional<std::string>("name"), item.optional<std::string>("brand"),
                      item.decimal("price"), item.wanted<std::string>("currencyCode"),
                      item.optional<Dictionary>("data"));
  item.expectNoMore();
  return made;
}

SornContentItem contentItem(Labels& arguments) {
  // By the label of the operations, or by the word that retail has for it.
  auto content = arguments.optional<Dictionary>("content");
  const Dictionary values = content ? *std::move(content) : arguments.wanted<Dictionary>("item");
  Labels item(values);
  SornContentItem made(item.wanted<std::string>("id"), item.wanted<std::string>("type"),
                       item.optional<std::string>("name"), item.optional<Dictionary>("data"));
  item.expectNoMore();
  return made;
}

// Reads its arguments and gives the call that they make, so that nothing is recorded before all have been
// looked at.
using Operation = std::function<std::function<void()>(Labels&)>;
using Operations = std::map<std::string, Operation, std::less<>>;

template <class Item>
Operation with(Item (*item)(Labels&), void (*call)(const Item&)) {
  return [=](Labels& labels) { return [=, it = item(labels)] { call(it); }; };
}
template <class Item>
Operation withDecimal(Item (*item)(Labels&), const char* label, void (*call)(const Item&, const Decimal&)) {
  return [=](Labels& labels) {
    return [=, it = item(labels), number = labels.decimal(label)] { call(it, number); };
  };
}
template <class Item>
Operation withText(Item (*item)(Labels&), const char* label, void (*call)(const Item&, const std::string&)) {
  return [=](Labels& labels) {
    return [=, it = item(labels), text = labels.wanted<std::string>(label)] { call(it, text); };
  };
}

using Checkout = void(const Decimal&, const std::string&, std::int64_t, const std::optional<Dictionary>&);
Operation checkout(Checkout* call) {
  return [call](Labels& labels) {
    return [call, total = labels.decimal("totalPrice"), currency = labels.wanted<std::string>("currency"),
            count = labels.wanted<std::int64_t>("itemCount"),
            data = labels.optional<Dictionary>("data")] { call(total, currency, count, data); };
  };
}

std::function<void()> purchase(Labels& labels) {
  return [item = retailItem(labels), quantity = labels.decimal("quantity"),
          success = labels.wanted<bool>("success"), reason = labels.optional<std::string>("reason")] {
    SornRetailEvent::purchase(item, quantity, success, reason);
  };
}

void run(const Operations& operations, const std::string& operation, const Dictionary& arguments) {
  const auto found = operations.find(operation);
  if (found == operations.end()) throw std::invalid_argument("unknown operation");
  Labels labels(arguments);
  const auto call = found->second(labels);
  labels.expectNoMore();
  call();
}

}  // namespace

void logRetail(const std::string& operation, const Dictionary& arguments) {
  run({{"purchase", purchase},
       {"view", with(retailItem, SornRetailEvent::view)},
       {"addToCart", withDecimal(retailItem, "quantity", SornRetailEvent::addToCart)},
       {"addToWishlist", with(retailItem, SornRetailEvent::addToWishlist)},
       {"share", withText(retailItem, "method", SornRetailEvent::share)},
       {"rate", withDecimal(retailItem, "rating", SornRetailEvent::rate)},
       {"startCheckout", checkout(SornRetailEvent::startCheckout)},
       {"completeCheckout", checkout(SornRetailEvent::completeCheckout)}},
      operation, arguments);
}

void logContent(const std::string& operation, const Dictionary& arguments) {
  run({{"view", with(contentItem, SornContentEvent::view)},
       {"share", withText(contentItem, "method", SornContentEvent::share)},
       {"rate", withDecimal(contentItem, "rating", SornContentEvent::rate)}},
      operation, arguments);
}

}  // namespace sorn::console
