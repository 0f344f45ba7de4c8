#include "events/EventValidation.h"

#include <string>

#include "events/NamePatterns.h"

namespace sorn::events {

namespace {

void appendTyped(const std::string& key, const Value& value, sync::EventData& typed) {
  if (value.as<bool>()) {
    typed.add("B_", key, value);
  } else if (value.as<std::int64_t>() || value.as<double>() || value.as<Decimal>()) {
    typed.add("N_", key, value);
  } else if (const Date* date = value.as<Date>()) {
    typed.add("D_", key, secondsSince1970(*date));
  } else {
    const std::string* text = value.as<std::string>();
    // What begins with "$" is reserved. A text that cannot be added is no UTF-8.
    if (!text || text->starts_with('$') || !typed.add("S_", key, value)) {
      throw SornError::invalidExtraValue(key);
    }
  }
}

}  // namespace

void appendExtraData(const Dictionary& data, sync::EventData& typed) {
  for (const auto& [key, value] : data) {
    if (key.empty()) throw SornError::emptyExtraKey(key);
    if (!isExtraKey(key)) throw SornError::invalidExtraKey(key);
    appendTyped(key, value, typed);
  }
}

void validateEventNames(std::string_view category, std::string_view action) {
  const bool isAction = isEventName(action);
  if (!isEventName(category)) throw SornError::invalidCategory(std::string(category));
  if (!isAction) throw SornError::invalidAction(std::string(action));
}

sync::EventData screenData(std::string_view name, const Dictionary* data, int orientation) {
  if (!isScreenName(name)) throw SornError::invalidScreenName(std::string(name));
  sync::EventData typed;
  if (data) {
    // All keys before any value.
    for (const auto& [key, value] : *data) {
      if (!isExtraKey(key)) throw SornError::invalidExtraKey(key);
    }
    appendExtraData(*data, typed);
  }
  List groups;
  std::size_t begin = 0;
  for (std::size_t point = name.find('.'); point != std::string_view::npos; point = name.find('.', begin)) {
    groups.emplace_back(name.substr(begin, point - begin));
    begin = point + 1;
  }
  const std::string_view last = name.substr(begin);
  if (groups.empty()) groups.emplace_back(last);
  typed.add("", "screen_name", last);
  typed.add("", "screen_groups", std::move(groups));
  typed.add("", "orientation", orientation);
  return typed;
}

}  // namespace sorn::events
