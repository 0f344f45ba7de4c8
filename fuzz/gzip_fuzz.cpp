// Any bytes as a compressed stream: the outcome is that of zlib run piece by piece into a small buffer, so
// it does not hang on how the library's own buffer grows, and it never exceeds the bound.

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include <zlib.h>

#include "support/Fault.h"
#include "support/Gzip.h"

namespace {

// Small inputs cannot reach the library's bound within a run, so this one has none.
int unpackByPieces(std::string_view packed, std::string& unpacked) {
  z_stream stream{};
  stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(packed.data()));
  stream.avail_in = static_cast<uInt>(packed.size());
  int status = inflateInit2(&stream, sorn::support::detectHeader);
  std::array<char, 777> piece;
  while (status == Z_OK) {
    stream.next_out = reinterpret_cast<Bytef*>(piece.data());
    stream.avail_out = static_cast<uInt>(piece.size());
    status = inflate(&stream, Z_NO_FLUSH);
    unpacked.append(piece.data(), piece.size() - stream.avail_out);
  }
  inflateEnd(&stream);
  return status;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using sorn::support::fault;
  const std::string_view packed(reinterpret_cast<const char*>(data), size);
  const auto unpacked = sorn::support::gunzipped(packed, sorn::support::detectHeader);
  if (packed.empty()) {
    if (!unpacked || !unpacked->empty()) fault("nothing for nothing");
    return 0;
  }
  std::string expected;
  const int status = unpackByPieces(packed, expected);
  if (static_cast<bool>(unpacked) != (status == Z_STREAM_END)) fault("an end where zlib sees one");
  if (unpacked ? *unpacked != expected : unpacked.error().code != status) fault("what zlib says");
  if (!unpacked && unpacked.error().message.empty()) fault("a message for every error");
  return 0;
}
