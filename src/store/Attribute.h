#pragma once

#include <array>
#include <concepts>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>

#include "sorn/Value.h"
#include "store/Cell.h"
#include "store/Schema.h"

namespace sorn::store {

template <class T>
concept StoredInteger = std::integral<T>;

template <class T>
constexpr ColumnType columnTypeOf() {
  if constexpr (std::same_as<T, std::string>) return ColumnType::text;
  if constexpr (std::integral<T>) return ColumnType::integer;
  return ColumnType::real;
}

// The stored form of a value, and back. A cell of another type than the attribute's reads as absent.
inline Cell toCell(std::string value) { return Cell(std::move(value)); }
inline Cell toCell(std::string_view value) { return Cell(std::string(value)); }
inline Cell toCell(const char* value) { return Cell(std::string(value)); }
inline Cell toCell(double value) { return Cell(value); }
inline Cell toCell(Date value) { return Cell(secondsSince1970(value)); }
Cell toCell(std::integral auto value) { return Cell(static_cast<std::int64_t>(value)); }

template <class T>
std::optional<T> fromCell(const Cell& cell) {
  if constexpr (std::same_as<T, std::string>) {
    if (const auto* text = std::get_if<std::string>(&cell)) return *text;
  } else if constexpr (std::integral<T>) {
    if (const auto* integer = std::get_if<std::int64_t>(&cell)) return static_cast<T>(*integer);
  } else {
    std::optional<double> number;
    if (const auto* real = std::get_if<double>(&cell)) number = *real;
    if (const auto* integer = std::get_if<std::int64_t>(&cell)) number = static_cast<double>(*integer);
    if (!number) return std::nullopt;
    if constexpr (std::same_as<T, Date>) {
      return dateSince1970(*number);
    } else {
      return number;
    }
  }
  return std::nullopt;
}

// An attribute that may be absent.
template <class T>
struct Attribute {
  using ValueType = T;
  std::uint8_t column;
  std::string_view name;
  WriteOut writeOut = WriteOut::eachSave;

  constexpr Column description() const { return {name, columnTypeOf<T>(), writeOut}; }
};

// A number or a boolean that is never absent and begins as zero or false.
template <class T>
struct Scalar {
  using ValueType = T;
  std::uint8_t column;
  std::string_view name;

  constexpr Column description() const { return {name, columnTypeOf<T>()}; }
};

// A relation to at most one record. A target that is gone reads as absent. With an inverse named, the two
// sides of a one-to-one relation are kept in step.
template <class Target>
struct ToOne {
  std::uint8_t column;
  std::string_view name;
  std::string_view inverse = {};

  constexpr Column description() const { return {name, ColumnType::reference, WriteOut::eachSave, inverse}; }
};

// The records whose to-one relation in this column leads here; an unordered set.
template <class Member>
struct ToMany {
  std::uint8_t memberColumn;
};

// The columns of an entity, in the order of their positions.
template <class... Attributes>
consteval auto columnsOf(const Attributes&... attributes) {
  std::size_t position = 0;
  // Throwing makes the compilation fail: an attribute stands elsewhere than its number says.
  ((attributes.column == position++ ? void() : throw "an attribute is out of order"), ...);
  return std::array<Column, sizeof...(Attributes)>{attributes.description()...};
}

}  // namespace sorn::store
