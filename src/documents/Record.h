#pragma once

#include <concepts>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "documents/DecodingFailure.h"
#include "support/Json.h"
#include "support/JsonWriter.h"

// Records of JSON documents. A record is a plain struct, described once by a `Description`: the list of its
// fields, each with its key, its presence and its form. Decoding and encoding both follow that list.
namespace sorn::documents {

enum class Presence : std::uint8_t {
  required,
  // Absent and null alike leave the member at its initial value.
  optional,
};

// The form of a member's values; a codec decodes and encodes them. This one chooses by the member's type.
struct ByType {};

template <class Record, class Member, class Codec = ByType>
struct Field {
  std::string_view key;
  Member Record::*member;
  Presence presence;
  [[no_unique_address]] Codec codec = {};
};

template <class Record, class Member, class Codec = ByType>
constexpr Field<Record, Member, Codec> required(std::string_view key, Member Record::*member,
                                                Codec codec = {}) {
  return {key, member, Presence::required, codec};
}
template <class Record, class Member, class Codec = ByType>
constexpr Field<Record, Member, Codec> optional(std::string_view key, Member Record::*member,
                                                Codec codec = {}) {
  return {key, member, Presence::optional, codec};
}

// Specialised for each record, with `static constexpr auto fields = std::tuple{required(...), ...};`.
template <class Record>
struct Description;

template <class T>
concept Described = requires { Description<T>::fields; };

template <Described Record>
bool decode(const support::Node& node, Record& record, DecodingFailure& failure);
template <Described Record>
void encode(support::Writer& writer, const Record& record);

// Values by their type: booleans, integers, doubles, texts, records, and lists and optionals of these.
template <class T>
struct ValueForm {
  static bool decode(const support::Node& node, T& value, DecodingFailure& failure) {
    if constexpr (Described<T>) {
      return documents::decode(node, value, failure);
    } else {
      return failure.check(node.read(value), node, typeName());
    }
  }
  static void encode(support::Writer& writer, const T& value) {
    if constexpr (Described<T>) {
      documents::encode(writer, value);
    } else if constexpr (std::same_as<T, bool>) {
      writer.boolean(value);
    } else if constexpr (std::integral<T>) {
      writer.integer(value);
    } else if constexpr (std::floating_point<T>) {
      writer.number(value);
    } else {
      writer.text(value);
    }
  }
  static constexpr std::string_view typeName() {
    if constexpr (std::same_as<T, bool>) return "a boolean";
    if constexpr (std::integral<T>) return "an integer";
    if constexpr (std::floating_point<T>) return "a number";
    return "a text";
  }
};

template <class T>
struct ValueForm<std::optional<T>> {
  static bool decode(const support::Node& node, std::optional<T>& value, DecodingFailure& failure) {
    return ValueForm<T>::decode(node, value.emplace(), failure);
  }
  static void encode(support::Writer& writer, const std::optional<T>& value) {
    if (value) {
      ValueForm<T>::encode(writer, *value);
    } else {
      writer.null();
    }
  }
};

template <class T>
struct ValueForm<std::vector<T>> {
  static bool decode(const support::Node& node, std::vector<T>& values, DecodingFailure& failure) {
    if (!node.isArray()) return failure.mismatch(node, "a list");
    values.clear();
    for (const support::Node& element : node.elements()) {
      if (!ValueForm<T>::decode(element, values.emplace_back(), failure)) {
        return failure.inElement(values.size() - 1);
      }
    }
    return true;
  }
  static void encode(support::Writer& writer, const std::vector<T>& values) {
    writer.beginArray();
    for (const T& value : values) ValueForm<T>::encode(writer, value);
    writer.endArray();
  }
};

namespace detail {

template <class Record, class Member, class Codec>
bool decodeField(const support::Node& object, const Field<Record, Member, Codec>& field, Record& record,
                 DecodingFailure& failure) {
  const std::optional<support::Node> node = object.find(field.key);
  const bool isOptional = field.presence == Presence::optional;
  if (!node) return isOptional || failure.missing(field.key);
  if (isOptional && node->isNull()) return true;
  Member& member = record.*(field.member);
  bool decoded = false;
  if constexpr (std::same_as<Codec, ByType>) {
    decoded = ValueForm<Member>::decode(*node, member, failure);
  } else {
    decoded = Codec::decode(*node, member, failure);
  }
  return decoded || failure.inMember(field.key);
}

template <class Record, class Member, class Codec>
void encodeField(support::Writer& writer, const Field<Record, Member, Codec>& field, const Record& record) {
  const Member& member = record.*(field.member);
  if constexpr (requires { member.has_value(); }) {
    if (field.presence == Presence::optional && !member.has_value()) return;
  }
  writer.key(field.key);
  if constexpr (std::same_as<Codec, ByType>) {
    ValueForm<Member>::encode(writer, member);
  } else {
    Codec::encode(writer, member);
  }
}

}  // namespace detail

// False, with the path and the cause in `failure`, at the first thing that is wrong. Unknown keys are
// ignored.
template <Described Record>
bool decode(const support::Node& node, Record& record, DecodingFailure& failure) {
  if (!node.isObject()) return failure.mismatch(node, "an object");
  return std::apply(
      [&](const auto&... field) { return (detail::decodeField(node, field, record, failure) && ...); },
      Description<Record>::fields);
}

// The record from the text of a whole document; absent with the failure told.
template <class Document>
std::optional<Document> decodeDocument(std::string_view text, DecodingFailure& failure) {
  support::JsonError error;
  const std::optional<support::Document> document =
      support::Document::parse(text, support::Fragments::no, &error);
  Document value{};
  if (!document) {
    failure.syntax(error.description);
    return std::nullopt;
  }
  if (!ValueForm<Document>::decode(document->root(), value, failure)) return std::nullopt;
  return value;
}

// Writes the record with the same keys. Absent optional members are left out.
template <Described Record>
void encode(support::Writer& writer, const Record& record) {
  writer.beginObject();
  std::apply([&](const auto&... field) { (detail::encodeField(writer, field, record), ...); },
             Description<Record>::fields);
  writer.endObject();
}

// The record as a document; absent when it holds what JSON cannot (NaN, text that is not UTF-8).
template <class Document>
std::optional<std::string> encodeDocument(const Document& value) {
  std::string text;
  support::Writer writer(text);
  ValueForm<Document>::encode(writer, value);
  if (!writer.isValid()) return std::nullopt;
  return text;
}

}  // namespace sorn::documents
