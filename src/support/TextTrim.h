#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace sorn::support {

// Stretches of a UTF-8 text without certain characters at both ends.
std::string_view trimWhitespaceAndNewlines(std::string_view text);
// Characters of the categories Cc and Cf.
std::string_view trimControlCharacters(std::string_view text);
// Everything but letters, marks and numbers.
std::string_view trimNotAlphanumeric(std::string_view text);

// How many characters a reader counts: extended grapheme clusters (Unicode Annex 29).
std::size_t graphemeCount(std::string_view text);

// Reads a hexadecimal number from the start: blanks are skipped, then "0x" if a digit follows; the first
// other character ends it. Beyond 64 bits it stays at the largest. Absent without a digit.
std::optional<std::uint64_t> scanHex(std::string_view text);

}  // namespace sorn::support
