#pragma once

#include <bit>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

#include "documents/DecodingFailure.h"
#include "documents/Description.h"
#include "documents/OptionalBox.h"
#include "support/json/Json.h"
#include "support/json/JsonWriter.h"

// Decoding and encoding of described records. Decoding is strict: a missing required key, a value of another
// type, a number out of range and an unknown enumeration text each fail it; unknown keys are ignored.
namespace sorn::documents {

template <Described Record>
bool decode(const support::Node& node, Record& record, DecodingFailure& failure);
template <Described Record>
void encode(support::Writer& writer, const Record& record);

namespace detail {
template <Positional Record>
bool decodeList(const support::Node& node, Record& record, DecodingFailure& failure);
template <Positional Record>
void encodeList(support::Writer& writer, const Record& record);
template <Enumerated Enumeration>
bool decodeText(const support::Node& node, Enumeration& value, DecodingFailure& failure);
}  // namespace detail

// Values by their type: booleans, integers, doubles, texts, enumerations, records, and lists, optionals and
// text-keyed maps of these.
template <class T>
struct ValueForm {
  static bool decode(const support::Node& node, T& value, DecodingFailure& failure) {
    if constexpr (Described<T>) {
      return documents::decode(node, value, failure);
    } else if constexpr (Positional<T>) {
      return detail::decodeList(node, value, failure);
    } else if constexpr (Enumerated<T>) {
      return detail::decodeText(node, value, failure);
    } else if constexpr (std::integral<T> && !std::same_as<T, bool>) {
      return decodeInteger(node, value, failure);
    } else {
      return failure.check(node.read(value), node, typeName());
    }
  }
  static void encode(support::Writer& writer, const T& value) {
    if constexpr (Described<T>) {
      documents::encode(writer, value);
    } else if constexpr (Positional<T>) {
      detail::encodeList(writer, value);
    } else if constexpr (Enumerated<T>) {
      writer.text(Description<T>::texts[static_cast<std::size_t>(value)]);
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

 private:
  static constexpr std::string_view typeName() {
    if constexpr (std::same_as<T, bool>) return "a boolean";
    if constexpr (std::same_as<T, std::int64_t>) return "an integer";
    if constexpr (std::integral<T>) return "a short integer";
    if constexpr (std::floating_point<T>) return "a number";
    return "a text";
  }
  static bool decodeInteger(const support::Node& node, T& value, DecodingFailure& failure) {
    std::int64_t wide = 0;
    support::ReadStatus status = node.read(wide);
    if (status == support::ReadStatus::ok && !std::in_range<T>(wide)) status = support::ReadStatus::corrupt;
    if (status != support::ReadStatus::ok) return failure.check(status, node, typeName());
    value = static_cast<T>(wide);
    return true;
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
struct ValueForm<OptionalBox<T>> {
  static bool decode(const support::Node& node, OptionalBox<T>& value, DecodingFailure& failure) {
    return ValueForm<T>::decode(node, value.emplace(), failure);
  }
  static void encode(support::Writer& writer, const OptionalBox<T>& value) {
    ValueForm<T>::encode(writer, *value);
  }
};

template <class T>
struct ValueForm<std::vector<T>> {
  static bool decode(const support::Node& node, std::vector<T>& values, DecodingFailure& failure) {
    if (!node.isArray()) return failure.mismatch(node, "a list");
    values.clear();
    values.reserve(node.size());
    std::size_t known = failure.count();
    bool good = true;
    for (const support::Node& element : node.elements()) {
      if (ValueForm<T>::decode(element, values.emplace_back(), failure)) continue;
      good = failure.inElement(values.size() - 1, failure.goesOn() ? known : 0);
      if (!failure.goesOn()) break;
      known = failure.count();
    }
    return good;
  }
  static void encode(support::Writer& writer, const std::vector<T>& values) {
    writer.beginArray();
    for (const T& value : values) ValueForm<T>::encode(writer, value);
    writer.endArray();
  }
};

template <class T>
struct ValueForm<std::map<std::string, T>> {
  static bool decode(const support::Node& node, std::map<std::string, T>& values, DecodingFailure& failure) {
    if (!node.isObject()) return failure.mismatch(node, "an object");
    values.clear();
    std::size_t known = failure.count();
    bool good = true;
    for (const auto& [key, member] : node.members()) {
      const auto [place, isNew] = values.try_emplace(std::string(key));
      // Of members with the same key the first one counts.
      if (!isNew || ValueForm<T>::decode(member, place->second, failure)) continue;
      good = failure.inMember(key, failure.goesOn() ? known : 0);
      if (!failure.goesOn()) break;
      known = failure.count();
    }
    return good;
  }
  static void encode(support::Writer& writer, const std::map<std::string, T>& values) {
    writer.beginObject();
    for (const auto& [key, value] : values) {
      writer.key(key);
      ValueForm<T>::encode(writer, value);
    }
    writer.endObject();
  }
};

namespace detail {

template <Described Record, std::size_t index>
bool decodeField(const support::Node& node, Record& record, DecodingFailure& failure) {
  constexpr auto& field = std::get<index>(Description<Record>::fields);
  using Codec = decltype(field.codec);
  auto& member = record.*(field.member);
  if constexpr (field.presence == Presence::optional) {
    if (node.isNull()) return true;
  }
  if constexpr (std::same_as<std::remove_cv_t<Codec>, ByType>) {
    return ValueForm<std::remove_cvref_t<decltype(member)>>::decode(node, member, failure);
  } else {
    return Codec::decode(node, member, failure);
  }
}

template <Described Record>
using FieldDecoder = bool (*)(const support::Node&, Record&, DecodingFailure&);

template <Described Record, std::size_t... index>
constexpr std::array<FieldDecoder<Record>, sizeof...(index)> fieldDecoders(std::index_sequence<index...>) {
  return {&decodeField<Record, index>...};
}

template <Described Record>
bool reportMissing(std::uint64_t seen, DecodingFailure& failure) {
  std::uint64_t missing = FieldTable<Record>::required & ~seen;
  for (; missing != 0; missing &= missing - 1) {
    failure.missing(FieldTable<Record>::keys[static_cast<std::size_t>(std::countr_zero(missing))]);
    if (!failure.goesOn()) break;
  }
  return false;
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

template <Enumerated Enumeration>
bool decodeText(const support::Node& node, Enumeration& value, DecodingFailure& failure) {
  const auto& texts = Description<Enumeration>::texts;
  std::string_view found;
  const support::ReadStatus status = node.read(found);
  if (status != support::ReadStatus::ok) return failure.check(status, node, "a text");
  for (std::size_t i = 0; i < texts.size(); ++i) {
    if (texts[i] != found) continue;
    value = static_cast<Enumeration>(i);
    return true;
  }
  return failure.unknown(found, texts);
}

template <Positional Record>
bool decodeList(const support::Node& node, Record& record, DecodingFailure& failure) {
  constexpr std::size_t count = std::tuple_size_v<decltype(Description<Record>::elements)>;
  if (!node.isArray()) return failure.mismatch(node, "a list");
  if (const std::size_t found = node.size(); found != count) {
    return failure.other("expected a list of " + std::to_string(count) + " values, found " +
                         std::to_string(found));
  }
  auto element = node.elements().begin();
  std::size_t position = 0;
  bool good = true;
  const auto decodeNext = [&](auto member) {
    auto& value = record.*member;
    const std::size_t known = failure.goesOn() ? failure.count() : 0;
    const bool decoded = ValueForm<std::remove_cvref_t<decltype(value)>>::decode(*element, value, failure);
    if (!decoded) good = failure.inElement(position, known);
    ++element;
    ++position;
    return decoded || failure.goesOn();
  };
  std::apply([&](const auto... member) { (decodeNext(member) && ...); }, Description<Record>::elements);
  return good;
}

template <Positional Record>
void encodeList(support::Writer& writer, const Record& record) {
  const auto encodeNext = [&](const auto& value) {
    ValueForm<std::remove_cvref_t<decltype(value)>>::encode(writer, value);
  };
  writer.beginArray();
  std::apply([&](const auto... member) { (encodeNext(record.*member), ...); }, Description<Record>::elements);
  writer.endArray();
}

}  // namespace detail

// False, with the path and the cause in `failure`, when something is wrong: one failure goes through all
// levels, since decoders fill it from the inside out. Walks the members once; of members with the same key
// the first one counts.
template <Described Record>
bool decode(const support::Node& node, Record& record, DecodingFailure& failure) {
  using Table = FieldTable<Record>;
  static constexpr auto decoders = detail::fieldDecoders<Record>(std::make_index_sequence<Table::count>());
  if (!node.isObject()) return failure.mismatch(node, "an object");
  std::uint64_t seen = 0;
  std::size_t next = 0;
  std::size_t known = failure.count();
  bool good = true;
  for (const auto& [key, member] : node.members()) {
    const std::size_t index = Table::find(key, next);
    const std::uint64_t bit = index < Table::count ? std::uint64_t{1} << index : 0;
    if (bit == 0 || (seen & bit) != 0) continue;
    seen |= bit;
    next = index + 1;
    if (decoders[index](member, record, failure)) continue;
    good = failure.inMember(key, failure.goesOn() ? known : 0);
    if (!failure.goesOn()) return false;
    known = failure.count();
  }
  if ((Table::required & ~seen) != 0) good = detail::reportMissing<Record>(seen, failure);
  return good;
}

// A record, a list or any other value that stands in a document.
template <class T>
Decoded<T> decodeValue(const support::Node& node) {
  Decoded<T> decoded{T()};
  DecodingFailure failure;
  if (!ValueForm<T>::decode(node, *decoded, failure)) decoded = support::Failure(std::move(failure));
  return decoded;
}

// The value from the text of a whole document.
template <class T>
Decoded<T> decodeDocument(std::string_view text) {
  const auto document = support::Document::parse(text);
  if (document) return decodeValue<T>(document->root());
  DecodingFailure failure;
  failure.syntax(document.error().description);
  return support::Failure(std::move(failure));
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
std::optional<std::string> encodeDocument(const Document& value,
                                          support::Writer::Form form = support::Writer::Form::compact) {
  std::string text;
  support::Writer writer(text, form);
  ValueForm<Document>::encode(writer, value);
  if (!writer.isValid()) return std::nullopt;
  return text;
}

}  // namespace sorn::documents
