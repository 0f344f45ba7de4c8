#include <string>

#include <gtest/gtest.h>
#include <unistd.h>

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

// printf '%s' TEXT | openssl enc -des-cbc -K C7F2A91E04D3B868 -iv 3A5C09E7B1D264F0 -provider legacy
//   -provider default | xxd -p
TEST(Cipher, AgreesWithSingleDes) {
  const std::pair<const char*, const char*> cases[] = {
      {"", "06f7b386e4c77066"},
      {"demo-key", "db9ec157460f0cfaa07af7772d067f45"},
      {"0123456789abcdef-application", "2441b90d3be3fa4a84b56cdc891e41b71157fe31afb610742a9c14b2b6943d45"},
  };
  for (const auto& [plain, enciphered] : cases) {
    EXPECT_EQ(hexText(*encrypt(plain)), enciphered);
    const CipherResult back = decrypt(hexBytes(enciphered));
    ASSERT_TRUE(back);
    EXPECT_EQ(*back, plain);
  }
}

TEST(Cipher, ReadsEightBytesOfKeyAndVectorAndTakesWeakKeys) {
  const std::string input = "abc";
  EXPECT_EQ(*tryCrypt(key + "more", vector + "more", CipherOperation::encrypt, input), *encrypt(input));
  // printf abc | openssl enc -des-cbc -K 0101010101010101 -iv 0000000000000000 ...
  EXPECT_EQ(hexText(*tryCrypt(std::string(8, '\1'), "", CipherOperation::encrypt, input)),
            "c576dd250e9f3ba1");
}

TEST(Cipher, FailuresHaveTheirStatus) {
  EXPECT_EQ(decrypt("1234567").error(), -4303);
  EXPECT_EQ(decrypt("123456789").error(), -4303);
  // Eight zero bytes, and seven letters with the byte 9, enciphered by openssl with -nopad: no valid padding.
  EXPECT_EQ(decrypt(hexBytes("9a33376f8b6c1c3a")).error(), -4304);
  EXPECT_EQ(decrypt(hexBytes("cd667bb354f7fc19")).error(), -4304);
  EXPECT_EQ(tryCrypt("short", vector, CipherOperation::encrypt, "a").error(), -4300);
  EXPECT_EQ(tryCrypt(key, "short", CipherOperation::encrypt, "a").error(), -4300);
  EXPECT_EQ(*decrypt(""), "");
}

TEST(Cipher, TheLibrarysOwnUseWritesAnEmptyLineFirst) {
  testing::internal::CaptureStdout();
  EXPECT_EQ(crypt(key, vector, CipherOperation::decrypt, hexBytes("db9ec157460f0cfaa07af7772d067f45")),
            "demo-key");
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "\n");
}

TEST(CipherDeathTest, TheEmptyLineIsThereWhenTheProcessEnds) {
  const auto endingWithBothStreamsInOne = [] {
    ::dup2(STDERR_FILENO, STDOUT_FILENO);
    crypt(key, vector, CipherOperation::decrypt, "12345");
  };
  EXPECT_DEATH(endingWithBothStreamsInOne(), "\nFatal error: .*-4303");
}

// python3 -c 'import hmac; print(hmac.new(KEY, MESSAGE, "sha256").hexdigest())'
TEST(Hmac, AgreesWithPython) {
  const std::string longKey(65, 'k');
  const std::string cases[][3] = {
      {"", "", "b613679a0814d9ec772f95d778c35fc5ff1697c493715653c6c712144292c5ad"},
      {"secret", "", "f9e66e179b6747ae54108f82f8ade8b3c25d76fd30afde6c395822c530196169"},
      {"key", "The quick brown fox jumps over the lazy dog",
       "f7bc83f430538424b13298e6aa6fb143ef4d59a14946175997479dbc2d1a3cd8"},
      {longKey, "gr\u00fc\u00dfe/\u65e5\u672c",
       "f2cdf0a9fc71a438f79cd17b959880e96597fa2b1eb5d4b3aee1efc564e88811"},
  };
  for (const auto& [secret, message, expected] : cases) {
    EXPECT_EQ(hexText(bytesOf(hmac(secret, message))), expected);
    HmacSha256 inPieces(secret);
    for (const char character : message) inPieces.update({&character, 1});
    EXPECT_EQ(hexText(bytesOf(inPieces.finish())), expected);
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
