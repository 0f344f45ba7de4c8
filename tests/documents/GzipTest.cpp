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
constexpr std::string_view twiceItsSize = "\x78\xda\x4b\x4c\xc4\x06\x00\x5f\xf3\x08\x57"sv;
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

TEST(Gzip, UnpacksBothFormats) {
  EXPECT_EQ(gunzipped(gzipped, detectHeader).value_or(""), R"([{"id":"a"}])");
  EXPECT_EQ(gunzipped(inZlibFormat, detectHeader).value_or(""), R"([{"id":"a"}])");
  EXPECT_EQ(gunzipped(twiceItsSize, detectHeader).value_or(""), std::string(22, 'a'));
  EXPECT_EQ(gunzipped("", detectHeader).value_or("-"), "");
  EXPECT_EQ(gunzipped(std::string(gzipped) + "behind it", detectHeader).value_or(""), R"([{"id":"a"}])");
}

TEST(Gzip, WhatCannotBeUnpackedSaysWhy) {
  std::string wrongSum(gzipped);
  wrongSum[24] ^= 1;
  std::string wrongBlock(gzipped);
  wrongBlock[10] = '\x07';
  const std::tuple<std::string, int, GzipError> cases[] = {
      {"no such stream", 47, {Kind::data, -3, "incorrect header check"}},
      {wrongSum, 47, {Kind::data, -3, "incorrect data check"}},
      {wrongBlock, 47, {Kind::data, -3, "invalid block type"}},
      {std::string(gzipped), 99, {Kind::stream, -2, "Unknown gzip error"}},
      {std::string(withDictionary), 47, {Kind::unknown, 2, "Unknown gzip error"}},
      {std::string(inZlibFormat), 31, {Kind::data, -3, "incorrect header check"}},
  };
  for (const auto& [packed, windowBits, expected] : cases) {
    const auto unpacked = gunzipped(packed, windowBits);
    ASSERT_FALSE(unpacked);
    EXPECT_EQ(unpacked.error(), expected) << unpacked.error().message;
  }
}

TEST(Gzip, AStreamCutAnywhereIsABufferError) {
  for (std::size_t length = 1; length < gzipped.size(); ++length) {
    const auto unpacked = gunzipped(gzipped.substr(0, length), detectHeader);
    ASSERT_FALSE(unpacked) << length;
    EXPECT_EQ(unpacked.error().kind, Kind::buffer) << length;
  }
}

TEST(Gzip, ContentIsBounded) {
  const auto atLimit = gunzipped(packedZeros(64 << 20), detectHeader);
  ASSERT_TRUE(atLimit);
  EXPECT_EQ(atLimit->size(), 67108864u);
  const auto beyond = gunzipped(packedZeros(67108865), detectHeader);
  ASSERT_FALSE(beyond);
  EXPECT_EQ(beyond.error(), (GzipError{Kind::memory, -4, "Unknown gzip error"}));
}

}  // namespace
}  // namespace sorn::support
