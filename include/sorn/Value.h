#pragma once

#include <array>
#include <charconv>
#include <chrono>
#include <cmath>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace sorn {

// A moment of the wall clock, in seconds with a fraction.
using Date = std::chrono::time_point<std::chrono::system_clock, std::chrono::duration<double>>;

// Seconds since 1970-01-01 00:00:00 UTC, and back.
inline double secondsSince1970(Date date) { return date.time_since_epoch().count(); }
inline Date dateSince1970(double seconds) { return Date(std::chrono::duration<double>(seconds)); }

// A decimal number as its digits, in the form that JSON has for numbers: prices and quantities, which a
// double would round, and numbers outside the range of 64-bit integers and doubles.
struct Decimal {
  Decimal() = default;
  explicit Decimal(std::string text) : digits(std::move(text)) {}
  explicit Decimal(const char* text) : digits(text) {}
  // The shortest digits that read back as the same number; none, which no event can hold, for NaN and the
  // infinities.
  explicit Decimal(std::integral auto whole) : digits(std::to_string(whole)) {}
  explicit Decimal(std::floating_point auto number) {
    digits.clear();
    if (!std::isfinite(number)) return;
    std::array<char, 32> text{};
    const auto written = std::to_chars(text.data(), text.data() + text.size(), static_cast<double>(number));
    digits.assign(text.data(), written.ptr);
  }

  std::string digits = "0";
  bool operator==(const Decimal&) const = default;
};

class Value;
using List = std::vector<Value>;
using Dictionary = std::map<std::string, Value>;

// A value of a free-form dictionary: what a host reports as extra data and what JSON documents hold.
// Integers, doubles and booleans stay apart, so a boolean never turns into 1 on the way.
class Value {
 public:
  using Storage =
      std::variant<std::nullptr_t, bool, std::int64_t, double, Decimal, std::string, Date, List, Dictionary>;

  Value() = default;
  Value(std::nullptr_t) {}
  Value(std::same_as<bool> auto boolean) : storage_(static_cast<bool>(boolean)) {}
  // Integers beyond the signed 64-bit range become doubles.
  template <std::integral Integer>
    requires(!std::same_as<Integer, bool>)
  Value(Integer integer) {
    if (std::in_range<std::int64_t>(integer)) {
      storage_ = static_cast<std::int64_t>(integer);
    } else {
      storage_ = static_cast<double>(integer);
    }
  }
  Value(std::floating_point auto number) : storage_(static_cast<double>(number)) {}
  Value(Decimal decimal) : storage_(std::move(decimal)) {}
  Value(std::string text) : storage_(std::move(text)) {}
  Value(std::string_view text) : storage_(std::string(text)) {}
  Value(const char* text) : storage_(std::string(text)) {}
  Value(Date date) : storage_(date) {}
  Value(List list) : storage_(std::move(list)) {}
  Value(Dictionary dictionary) : storage_(std::move(dictionary)) {}

  bool isNull() const { return std::holds_alternative<std::nullptr_t>(storage_); }

  // The value as exactly this type, or null when it holds another.
  template <class T>
  const T* as() const {
    return std::get_if<T>(&storage_);
  }
  template <class T>
  T* as() {
    return std::get_if<T>(&storage_);
  }

  const Storage& storage() const { return storage_; }

  bool operator==(const Value&) const = default;

 private:
  Storage storage_;
};

}  // namespace sorn
