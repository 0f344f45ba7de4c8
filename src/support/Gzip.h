#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "support/Result.h"

namespace sorn::support {

// What unpacked content may take. A stream that unpacks to more fails as `memory`.
inline constexpr std::size_t unpackedLimit = std::size_t{64} << 20;

// The window bits for the largest window, with the header of gzip (RFC 1952) or zlib (RFC 1950) detected.
inline constexpr int detectHeader = 15 + 32;

// Why a compressed stream could not be unpacked.
struct GzipError {
  enum class Kind : std::uint8_t { stream, data, memory, buffer, version, unknown };

  Kind kind = Kind::unknown;
  int code = 0;         // of zlib
  std::string message;  // in the words of zlib, where it has some

  bool operator==(const GzipError&) const = default;
};

// The first member of the stream, unpacked; empty for empty input. Fails with `buffer` for a stream that is
// cut off, with `data` for one that is broken or no such stream at all.
Result<std::string, GzipError> gunzipped(std::string_view packed, int windowBits);

}  // namespace sorn::support
