#include <algorithm>
#include <array>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>

#include <gtest/gtest.h>
#include <zlib.h>

#include "support/Gzip.h"

namespace sorn::support {
namespace {

using namespace std::string_view_literals;
using Kind = GzipError::Kind;

// Written by Python's gzip and zlib modules.
constexpr std::string_view gzipped =
    "\x1f\x8b\x08\x00\x00\x00\x00\x00\x02\xff\x8b\xae\x56\xca\x4c\x51\xb2\x52\x4a\x54\xaa\x8d\x05\x00\x89\xff"
    "\x2c\x75\x0c\x00\x00\x00"sv;
constexpr std::string_view inZlibFormat =
    "\x78\x9c\x8b\xae\x56\xca\x4c\x51\xb2\x52\x4a\x54\xaa\x8d\x05\x00\x17\xf3\x03\xa1"sv;
constexpr std::string_view withDictionary =
    "\x78\xbb\x06\x2c\x02\x15\xcb\x00\x11\x0a\x60\x12\x00\x19\x91\x04\x49"sv;

// Equal bytes packed as far as zlib can, in the format of gzip.
std::string packedZeros(std::size_t size) {
  std::string packed(size / 500 + 1000, '\0');
  z_stream stream{};
  deflateInit2(&stream, 9, Z_DEFLATED, 15 + 16, 9, Z_DEFAULT_STRATEGY);
  stream.next_out = reinterpret_cast<Bytef*>(packed.data());
  stream.avail_out = static_cast<uInt>(packed.size());
  std::array<Bytef, 65536> zeros{};
  while (stream.total_in < size) {
    stream.next_in = zeros.data();
    stream.avail_in = static_cast<uInt>(std::min<std::size_t>(zeros.size(), size - stream.total_in));
    deflate(&stream, Z_NO_FLUSH);
  }
  deflate(&stream, Z_FINISH);
  packed.resize(stream.total_out);
  deflateEnd(&stream);
  return packed;
}

// What streams unpack to is compared with zlib's own word by the fuzz target.
TEST(Gzip, WhatCannotBeUnpackedSaysWhy) {
  std::string wrongSum(gzipped);
  wrongSum[24] ^= 1;
  const std::tuple<std::string, int, GzipError> cases[] = {
      {std::string(gzipped.substr(0, 20)), 47, {Kind::buffer, -5, "Unknown gzip error"}},
      {wrongSum, 47, {Kind::data, -3, "incorrect data check"}},
      {std::string(gzipped), 99, {Kind::stream, -2, "Unknown gzip error"}},
      {std::string(withDictionary), 47, {Kind::unknown, 2, "Unknown gzip error"}},
      {std::string(inZlibFormat), 31, {Kind::data, -3, "incorrect header check"}},
      {packedZeros(67108865), 47, {Kind::memory, -4, "Unknown gzip error"}},
  };
  for (const auto& [packed, windowBits, expected] : cases) {
    const auto unpacked = gunzipped(packed, windowBits);
    ASSERT_FALSE(unpacked);
    EXPECT_EQ(unpacked.error(), expected) << unpacked.error().message;
  }
  EXPECT_EQ(gunzipped(std::string(gzipped) + "behind it", detectHeader).value_or(""), R"([{"id":"a"}])");
  EXPECT_EQ(gunzipped("", detectHeader).value_or("-"), "");
  EXPECT_EQ(gunzipped(packedZeros(64 << 20), detectHeader).value_or("").size(), 67108864u);
}

}  // namespace
}  // namespace sorn::support
