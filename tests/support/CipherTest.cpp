#include <string>

#include <gtest/gtest.h>
#include <unistd.h>

#include "fakes/DataFile.h"
#include "support/Cipher.h"

namespace sorn::support {
namespace {

using namespace std::string_literals;

const std::string key = hexBytes("C7F2A91E04D3B868");
const std::string vector = hexBytes("3A5C09E7B1D264F0");

CipherResult encrypt(std::string_view input) {
  return tryCrypt(key, vector, CipherOperation::encrypt, input);
}
CipherResult decrypt(std::string_view input) {
  return tryCrypt(key, vector, CipherOperation::decrypt, input);
}

TEST(Cipher, AgreesWithSingleDes) {
  for (const auto& row : tests::dataFile("ciphers.json")) {
    const CipherResult enciphered = encrypt(row[0].get<std::string>());
    ASSERT_TRUE(enciphered);
    EXPECT_EQ(hexText(*enciphered), row[1]);
    EXPECT_EQ(decrypt(*enciphered).value_or("-"), row[0]);
  }
}

TEST(Cipher, ReadsEightBytesOfKeyAndVectorAndTakesWeakKeys) {
  EXPECT_EQ(*tryCrypt(key + "more", vector + "more", CipherOperation::encrypt, "abc"), *encrypt("abc"));
  // printf abc | openssl enc -des-cbc -K 0101010101010101 -iv 0000000000000000 ...
  EXPECT_EQ(hexText(*tryCrypt(std::string(8, '\1'), "", CipherOperation::encrypt, "abc")),
            "c576dd250e9f3ba1");
}

TEST(Cipher, FailuresHaveTheirStatus) {
  EXPECT_EQ(decrypt("1234567").error(), -4303);
  EXPECT_EQ(decrypt("123456789").error(), -4303);
  // Enciphered by openssl with -nopad, no valid padding: eight zero bytes, seven letters with the byte 9, six
  // letters with the bytes 1 and 2.
  for (const char* block : {"9a33376f8b6c1c3a", "cd667bb354f7fc19", "feacd5c9516f6f84"}) {
    EXPECT_EQ(decrypt(hexBytes(block)).error(), -4304) << block;
  }
  EXPECT_EQ(tryCrypt("short", vector, CipherOperation::encrypt, "a").error(), -4300);
  EXPECT_EQ(tryCrypt(key, "short", CipherOperation::encrypt, "a").error(), -4300);
  EXPECT_EQ(*decrypt(""), "");
}

TEST(CipherDeathTest, TheLibrarysOwnUseWritesAnEmptyLineFirstAlsoWhenTheProcessEnds) {
  testing::internal::CaptureStdout();
  EXPECT_EQ(crypt(key, vector, CipherOperation::decrypt, hexBytes("db9ec157460f0cfaa07af7772d067f45")),
            "demo-key");
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "\n");
  const auto endingWithBothStreamsInOne = [] {
    ::dup2(STDERR_FILENO, STDOUT_FILENO);
    crypt(key, vector, CipherOperation::decrypt, "12345");
  };
  EXPECT_DEATH(endingWithBothStreamsInOne(), "\nFatal error: .*-4303");
}

TEST(Hmac, AgreesWithPython) {
  for (const auto& row : tests::dataFile("hashes.json")) {
    const std::string message = row[1];
    HmacSha256 inPieces(row[0].get<std::string>());
    for (const char character : message) inPieces.update({&character, 1});
    EXPECT_EQ(hexText(bytesOf(inPieces.finish())), row[2]);
    EXPECT_EQ(hexText(bytesOf(hmac(row[0].get<std::string>(), message))), row[2]);
  }
}

TEST(HexBytes, ReadsPairsWithinEachRun) {
  const std::pair<const char*, std::string> cases[] = {
      {"0a:FF", "\x0a\xff"s}, {"abc", "\xab\x0c"s},  {"", ""s}, {"xyz -", ""s}, {"a", "\x0a"s},
      {"a b", "\x0a\x0b"s},   {"00g1", "\x00\x01"s},
  };
  for (const auto& [text, bytes] : cases) EXPECT_EQ(hexBytes(text), bytes) << text;
}

}  // namespace
}  // namespace sorn::support
