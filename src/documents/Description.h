#pragma once

#include <array>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <tuple>
#include <type_traits>

// How records of JSON documents are described: each once, in one table that decoding, encoding, the schema
// and the checks of the tools all follow. A record is a plain struct; its table lists its fields, each with
// its key, its presence and its form.
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
  std::string_view help;  // for people who write such documents
  [[no_unique_address]] Codec codec = {};
};

template <class Record, class Member, class Codec = ByType>
  requires std::is_class_v<Codec>
constexpr Field<Record, Member, Codec> required(std::string_view key, Member Record::*member,
                                                Codec codec = {}) {
  return {key, member, Presence::required, {}, codec};
}
template <class Record, class Member>
constexpr Field<Record, Member> required(std::string_view key, Member Record::*member,
                                         std::string_view help) {
  return {key, member, Presence::required, help};
}
template <class Record, class Member, class Codec = ByType>
  requires std::is_class_v<Codec>
constexpr Field<Record, Member, Codec> optional(std::string_view key, Member Record::*member,
                                                Codec codec = {}) {
  return {key, member, Presence::optional, {}, codec};
}
template <class Record, class Member>
constexpr Field<Record, Member> optional(std::string_view key, Member Record::*member,
                                         std::string_view help) {
  return {key, member, Presence::optional, help};
}

// Specialised for each type that is no plain value:
//   a record by `static constexpr auto fields = std::tuple{required(...), optional(...), ...};`,
//   a record that stands as a list of fixed length by `static constexpr auto elements = std::tuple{&R::a,
//   ...};`, an enumeration by `static constexpr std::array texts = ...`, in the order of its enumerators.
// `name` is what the schema calls it.
template <class T>
struct Description;

template <class T>
concept Described = requires { Description<T>::fields; };
template <class T>
concept Positional = requires { Description<T>::elements; };
template <class T>
concept Enumerated = std::is_enum_v<T> && requires { Description<T>::texts; };

template <class... Text>
constexpr std::array<std::string_view, sizeof...(Text)> texts(const Text&... text) {
  return {std::string_view(text)...};
}

// The table of a record, unrolled for a walk over an object's members.
template <Described Record>
struct FieldTable {
  static constexpr std::size_t count = std::tuple_size_v<decltype(Description<Record>::fields)>;
  static_assert(count <= 64, "the fields seen are counted in one word");

  static constexpr std::array<std::string_view, count> keys =
      std::apply([](const auto&... field) { return std::array{field.key...}; }, Description<Record>::fields);

  static constexpr std::uint64_t required = std::apply(
      [](const auto&... field) {
        std::uint64_t mask = 0;
        std::uint64_t bit = 1;
        ((mask |= field.presence == Presence::required ? bit : 0, bit <<= 1), ...);
        return mask;
      },
      Description<Record>::fields);

  // The field of this key, or `count`. Documents mostly keep the order of the table, so the search begins
  // behind the field that was found last.
  static std::size_t find(std::string_view key, std::size_t from) {
    for (std::size_t i = from; i < count; ++i) {
      if (keys[i] == key) return i;
    }
    for (std::size_t i = 0; i < from; ++i) {
      if (keys[i] == key) return i;
    }
    return count;
  }
};

}  // namespace sorn::documents
