#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace sorn::support {

// Base64 (RFC 4648, section 4), with padding and without line breaks.
std::string base64Encode(std::string_view bytes);

// Strict: only the alphabet, "=" only at the end, a length that is a multiple of four; anything else, blanks
// and the URL-safe alphabet included, gives absence. Spare bits before the padding may be anything. No text
// decodes to no bytes.
std::optional<std::string> base64Decode(std::string_view text);

}  // namespace sorn::support
