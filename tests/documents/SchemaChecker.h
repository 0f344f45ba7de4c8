#pragma once

#include <cmath>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <string_view>

#include "support/json/Json.h"

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
    return !any(schema.members(), [&](const auto& member) {
      const auto& [keyword, argument] = member;
      return !holds(keyword, argument, schema, value);
    });
  }

  bool holds(std::string_view keyword, const Node& argument, const Node& schema, const Node& value) const {
    if (keyword == "$schema" || keyword == "title" || keyword == "description" || keyword == "$defs") {
      return true;
    }
    if (keyword == "$ref") return accepts(definition(argument.text()), value);
    if (keyword == "type") return hasType(argument, value);
    if (keyword == "enum") return isListed(argument, value);
    if (keyword == "minimum") return !isNumber(value) || number(value) >= number(argument);
    if (keyword == "maximum") return !isNumber(value) || number(value) <= number(argument);
    if (keyword == "anyOf") {
      return any(argument.elements(), [&](const Node& form) { return accepts(form, value); });
    }
    if (keyword == "items") {
      return !any(value.elements(), [&](const Node& element) { return !accepts(argument, element); });
    }
    if (keyword == "required") {
      return !value.isObject() ||
             !any(argument.elements(), [&](const Node& key) { return !value.find(key.text()); });
    }
    if (keyword == "properties") {
      return !any(argument.members(), [&](const auto& property) {
        const auto member = value.find(property.key);
        return member && !accepts(property.value, *member);
      });
    }
    if (keyword == "additionalProperties" && !schema.find("properties")) {
      return !any(value.members(), [&](const auto& member) { return !accepts(argument, member.value); });
    }
    throw std::invalid_argument("unknown keyword " + std::string(keyword));
  }

  template <class Range, class Test>
  static bool any(const Range& range, Test test) {
    for (const auto& each : range) {
      if (test(each)) return true;
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
    if (type.isArray()) return any(type.elements(), [&](const Node& each) { return hasType(each, value); });
    const std::string_view name = type.text();
    if (name == "null") return value.isNull();
    if (name == "boolean") return value.kind() == support::Kind::boolean;
    if (name == "string") return value.isText();
    if (name == "array") return value.isArray();
    if (name == "object") return value.isObject();
    if (name == "number") return isNumber(value);
    if (name == "integer") return isNumber(value) && std::trunc(number(value)) == number(value);
    throw std::invalid_argument("unknown type " + std::string(name));
  }

  static bool isListed(const Node& list, const Node& value) {
    return any(list.elements(), [&](const Node& each) { return each.toValue() == value.toValue(); });
  }

  static bool isNumber(const Node& value) {
    const support::Kind kind = value.kind();
    return kind == support::Kind::integer || kind == support::Kind::number || kind == support::Kind::decimal;
  }
  // Exact for integers and doubles; a decimal is beyond every integer, and where it is beyond every double it
  // reads as an infinity.
  static long double number(const Node& value) {
    if (value.kind() == support::Kind::integer) return value.integer();
    if (value.kind() == support::Kind::number) return value.number();
    return std::strtod(std::string(value.text()).c_str(), nullptr);
  }

  Node schema_;
};

}  // namespace sorn::documents
