#pragma once

#include <span>
#include <string_view>

namespace sorn::support {

// Whether the text is one complete object of compact JSON without any of these keys at its top level, so that
// it may be spliced into a larger document, and members with these keys added, without being parsed. A false
// answer only means that it must be parsed: blanks, a top-level key with an escape, a nesting beyond 64 and
// numbers that might be too large for a double get one although they are no errors.
bool isPlainObjectWithout(std::string_view json, std::span<const std::string_view> keys);

}  // namespace sorn::support
