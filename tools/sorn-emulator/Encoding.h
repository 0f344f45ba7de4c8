#pragma once

// The few encodings that a service needs to check its callers and to publish its files.

#include <string>
#include <string_view>

namespace sorn::emulator {

// Standard base64 with padding, without line breaks (RFC 4648, section 4).
std::string base64(std::string_view bytes);

// "%41" becomes "A"; a percent sign that is not followed by two hexadecimal digits stays as it is.
std::string percentDecoded(std::string_view text);

// Whether the bytes are UTF-8 (RFC 3629): no longer forms than needed, no surrogates, nothing above U+10FFFF.
bool isUtf8(std::string_view bytes);

// A gzip member (RFC 1952) that holds `bytes`.
std::string gzipped(std::string_view bytes);

// HMAC-SHA256, 32 bytes; an empty key is a key. The message is given in two pieces, so that a large body
// need not be copied behind the text that stands before it.
std::string hmacSha256(std::string_view key, std::string_view head, std::string_view tail);

// The first 16 hexadecimal digits of the SHA-256 of `bytes`.
std::string shortDigest(std::string_view bytes);

// Seconds since 1970, with their fraction.
double now();

}  // namespace sorn::emulator
