#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace sorn::support {

// A text that a strict parser refuses for what this library's reader allows, rewritten so that it passes.
struct MendedJson {
  std::string text;
  // Which texts of the document, counted from 0 with the keys, stand for decimals.
  std::vector<std::size_t> decimals;
};

// Leaves out a comma before a closing bracket and puts numbers outside every range into quotes. Absent when
// there is nothing of that kind; what else is wrong stays wrong.
std::optional<MendedJson> mendJson(std::string_view text);

// Whether the text is exactly one number as JSON writes it, and not too large for a double: a reader that has
// nothing larger refuses the whole document for it.
bool isFiniteJsonNumber(std::string_view text);

}  // namespace sorn::support
