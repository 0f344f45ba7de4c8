#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <variant>

namespace sorn::store {

// The stored form of one attribute: absent, a number or a text. Booleans are the integers 0 and 1, dates are
// seconds since 1970, a to-one relation is the row id of its target.
using Cell = std::variant<std::monostate, std::int64_t, double, std::string>;

inline bool isAbsent(const Cell& cell) { return std::holds_alternative<std::monostate>(cell); }

}  // namespace sorn::store
