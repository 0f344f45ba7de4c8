#pragma once

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <string_view>

#include "support/Json.h"

namespace sorn::documents {

// Checks a document against a JSON Schema that uses no more than the keywords below; any other is refused, so
// that none goes unchecked.
class SchemaChecker {
 public:
  explicit SchemaChecker(support::Node schema) : schema_(schema) {}

  bool accepts(support::Node value) const { return accepts(schema_, value); }

 private:
  using Node = support::Node;

  bool accepts(const Node& schema, const Node& value) const {
    for (const auto& [keyword, argument] : schema.members()) {
      if (!holds(schema, keyword, argument, value)) return false;
    }
    return true;
  }

  bool holds(const Node& schema, std::string_view keyword, const Node& argument, const Node& value) const {
    if (keyword == "$schema" || keyword == "title" || keyword == "description" || keyword == "$defs") {
      return true;
    }
    if (keyword == "$ref") return accepts(definition(argument.text()), value);
    if (keyword == "type") return hasType(argument, value);
    if (keyword == "enum") return isListed(argument, value);
    if (keyword == "anyOf") return any(argument, [&](const Node& form) { return accepts(form, value); });
    if (keyword == "minimum") return !isNumber(value) || compare(value, argument) >= 0;
    if (keyword == "maximum") return !isNumber(value) || compare(value, argument) <= 0;
    if (keyword == "items") {
      return !any(value, [&](const Node& element) { return !accepts(argument, element); });
    }
    if (keyword == "required") {
      if (!value.isObject()) return true;
      return !any(argument, [&](const Node& key) { return !value.find(key.text()); });
    }
    if (keyword == "properties" || keyword == "additionalProperties") {
      return membersHold(schema, keyword == "properties", argument, value);
    }
    throw std::invalid_argument("unknown keyword " + std::string(keyword));
  }

  bool membersHold(const Node& schema, bool named, const Node& argument, const Node& value) const {
    for (const auto& [key, member] : value.members()) {
      if (named) {
        const auto form = argument.find(key);
        if (form && !accepts(*form, member)) return false;
      } else if (schema.find("properties")) {
        throw std::invalid_argument("additionalProperties beside properties");
      } else if (!accepts(argument, member)) {
        return false;
      }
    }
    return true;
  }

  template <class Test>
  static bool any(const Node& list, Test test) {
    for (const Node& element : list.elements()) {
      if (test(element)) return true;
    }
    return false;
  }

  Node definition(std::string_view reference) const {
    constexpr std::string_view place = "#/$defs/";
    const auto found = schema_.find("$defs")->find(reference.substr(place.size()));
    if (!reference.starts_with(place) || !found) throw std::invalid_argument(std::string(reference));
    return *found;
  }

  static bool hasType(const Node& type, const Node& value) {
    if (type.isArray()) return any(type, [&](const Node& each) { return hasType(each, value); });
    const std::string_view name = type.text();
    if (name == "null") return value.isNull();
    if (name == "boolean") return value.kind() == support::Kind::boolean;
    if (name == "string") return value.isText();
    if (name == "array") return value.isArray();
    if (name == "object") return value.isObject();
    if (name == "number") return isNumber(value);
    if (name == "integer") return isWhole(value);
    throw std::invalid_argument("unknown type " + std::string(name));
  }

  static bool isNumber(const Node& value) {
    const support::Kind kind = value.kind();
    return kind == support::Kind::integer || kind == support::Kind::number || kind == support::Kind::decimal;
  }
  static bool isWhole(const Node& value) {
    if (value.kind() == support::Kind::number) return std::trunc(value.number()) == value.number();
    return isNumber(value);
  }

  static bool isListed(const Node& list, const Node& value) {
    return any(list, [&](const Node& each) { return each.toValue() == value.toValue(); });
  }

  // Exact also where an integer and a double meet. A decimal is beyond every integer, and where it is beyond
  // every double it reads as an infinity.
  static int compare(const Node& value, const Node& bound) {
    if (value.kind() == support::Kind::decimal) {
      const double number = std::strtod(std::string(value.text()).c_str(), nullptr);
      if (bound.kind() == support::Kind::integer) return number < 0 ? -1 : 1;
      return number < bound.number() ? -1 : number > bound.number();
    }
    if (value.kind() == support::Kind::integer && bound.kind() == support::Kind::integer) {
      return value.integer() < bound.integer() ? -1 : value.integer() > bound.integer();
    }
    if (value.kind() == support::Kind::integer) return bound.number() < 0 ? 1 : -1;
    if (bound.kind() == support::Kind::integer) {
      if (value.number() >= 0x1p63) return 1;
      if (value.number() < -0x1p63) return -1;
      const auto whole = static_cast<std::int64_t>(value.number());
      return whole < bound.integer() ? -1 : whole > bound.integer();
    }
    return value.number() < bound.number() ? -1 : value.number() > bound.number();
  }

  Node schema_;
};

}  // namespace sorn::documents
