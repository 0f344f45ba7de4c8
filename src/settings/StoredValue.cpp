#include "settings/StoredValue.h"

#include <charconv>
#include <cmath>
#include <optional>
#include <string>
#include <system_error>
#include <utility>

#include "support/json/Json.h"

namespace sorn::settings {

namespace {

constexpr const char* doubleKey = "$double";
constexpr const char* decimalKey = "$decimal";
constexpr const char* dateKey = "$date";
constexpr const char* dictionaryKey = "$dictionary";

Value wrapped(const char* key, Value value) { return Dictionary{{key, std::move(value)}}; }

// The shortest text that reads back the same, whatever the locale says about points.
std::string textOf(double number) {
  char digits[40];
  const std::to_chars_result result = std::to_chars(digits, digits + sizeof digits, number);
  return {digits, result.ptr};
}

std::optional<double> numberOf(const std::string& text) {
  double number = 0;
  const std::from_chars_result result = std::from_chars(text.data(), text.data() + text.size(), number);
  if (result.ec != std::errc() || result.ptr != text.data() + text.size()) return std::nullopt;
  return number;
}

struct Storing {
  template <class Plain>
  Value operator()(const Plain& plain) const {
    return plain;
  }
  Value operator()(double number) const {
    const bool readsBackAsDouble = std::isfinite(number) && number != std::trunc(number);
    return readsBackAsDouble ? Value(number) : wrapped(doubleKey, textOf(number));
  }
  Value operator()(const Decimal& decimal) const { return wrapped(decimalKey, decimal.digits); }
  Value operator()(Date date) const { return wrapped(dateKey, secondsSince1970(date)); }
  Value operator()(const List& list) const {
    List stored;
    stored.reserve(list.size());
    for (const Value& element : list) stored.push_back(storedForm(element));
    return stored;
  }
  Value operator()(const Dictionary& dictionary) const {
    Dictionary stored;
    bool looksWrapped = false;
    for (const auto& [key, value] : dictionary) {
      looksWrapped = looksWrapped || key.starts_with('$');
      stored.emplace(key, storedForm(value));
    }
    // Otherwise a host's own {"$date": 5} would come back as a date.
    return looksWrapped ? wrapped(dictionaryKey, std::move(stored)) : Value(std::move(stored));
  }
};

Dictionary restoredMembers(const Dictionary& stored) {
  Dictionary members;
  for (const auto& [key, value] : stored) members.emplace(key, restoredFrom(value));
  return members;
}

std::optional<Value> unwrapped(const std::string& key, const Value& value) {
  if (key == doubleKey && value.as<std::string>()) {
    const std::optional<double> number = numberOf(*value.as<std::string>());
    return number ? std::optional<Value>(*number) : std::nullopt;
  }
  if (key == decimalKey && value.as<std::string>()) return Decimal{*value.as<std::string>()};
  if (key == dateKey) {
    const std::optional<double> seconds = support::castDouble(value);
    return seconds ? std::optional<Value>(dateSince1970(*seconds)) : std::nullopt;
  }
  if (key == dictionaryKey && value.as<Dictionary>()) return restoredMembers(*value.as<Dictionary>());
  return std::nullopt;
}

}  // namespace

Value storedForm(const Value& value) { return std::visit(Storing(), value.storage()); }

Value restoredFrom(const Value& stored) {
  if (const List* list = stored.as<List>()) {
    List restored;
    restored.reserve(list->size());
    for (const Value& element : *list) restored.push_back(restoredFrom(element));
    return restored;
  }
  const Dictionary* dictionary = stored.as<Dictionary>();
  if (!dictionary) return stored;
  if (dictionary->size() == 1) {
    if (auto value = unwrapped(dictionary->begin()->first, dictionary->begin()->second))
      return std::move(*value);
  }
  return restoredMembers(*dictionary);
}

}  // namespace sorn::settings
