#include <random>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "support/json/TextScan.h"

namespace sorn::support {

namespace {

bool needsALook(char byte, std::string_view others) {
  const auto code = static_cast<unsigned char>(byte);
  return code < 0x20 || code >= 0x80 || byte == '"' || byte == '\\' ||
         others.find(byte) != std::string_view::npos;
}

// Never late, and at most seven bytes early.
void checkOne(std::string_view text, const char* end, std::string_view others) {
  const auto found = static_cast<std::size_t>(end - text.data());
  std::size_t expected = 0;
  while (expected < text.size() && !needsALook(text[expected], others)) ++expected;
  ASSERT_LE(found, expected) << "late in " << text;
  ASSERT_LT(expected - found, 8u) << "early in " << text;
}

}  // namespace

// Single bytes of every kind, and mixtures of bytes that are one apart from those that need a look, where a
// borrow between the bytes of a word would show.
TEST(TextScan, StopsAtTheBytesInQuestionAndReadsNothingBesideTheText) {
  constexpr std::string_view alphabet("\x00\x01\x1F\x20\x21\"#[\\]./0\x7E\x7F\x80\x81\xFF\xA0\xA2", 20);
  std::mt19937 random(20240229);
  for (int round = 0; round < 200'000; ++round) {
    std::string text(random() % 41, 'a');
    if (round % 2 == 0) {
      if (!text.empty()) text[random() % text.size()] = static_cast<char>(random() % 256);
    } else {
      // Mostly plain bytes, or nearly every text would end in its first word.
      for (char& byte : text) {
        byte = alphabet[random() % alphabet.size()];
        if (needsALook(byte, "/\x7F") && random() % alphabet.size() > 2) byte = '!';
      }
    }
    // A copy of exactly this length, so that the sanitizer sees a read beside it.
    const std::vector<char> copy(text.begin(), text.end());
    const std::string_view placed(copy.data(), copy.size());
    checkOne(placed, skipPlainText(copy.data(), copy.data() + copy.size()), "");
    checkOne(placed, skipPlainText<'/', '\x7F'>(copy.data(), copy.data() + copy.size()), "/\x7F");
    if (::testing::Test::HasFatalFailure()) return;
  }
}

}  // namespace sorn::support
