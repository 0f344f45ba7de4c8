#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "support/Result.h"

namespace sorn::support {

// DES in CBC mode with PKCS#7 padding, the fixed format of the enciphered configuration values, HMAC-SHA256
// (RFC 2104), which signs requests, and a reader of hexadecimal text. Bytes are held in std::string.

enum class CipherOperation : std::uint32_t { encrypt = 0, decrypt = 1 };

// Why the cipher failed. Every status is negative.
struct CipherStatus {
  static constexpr int parameter = -4300;
  static constexpr int alignment = -4303;  // the ciphertext's length is no multiple of 8
  static constexpr int decode = -4304;     // the padding is wrong
};

using CipherResult = Result<std::string, int>;

// Eight bytes of the key count, whatever its length, and eight of the vector; an empty vector stands for
// zeros. Fewer than eight are a parameter failure. Deciphering nothing gives nothing.
CipherResult tryCrypt(std::string_view key, std::string_view iv, CipherOperation operation,
                      std::string_view input);

// The same for the library itself: a failure is a fault, so that a damaged configuration file is noticed at
// once. Writes an empty line to the standard output stream before each use, which is kept on purpose.
std::string crypt(std::string_view key, std::string_view iv, CipherOperation operation,
                  std::string_view input);

using Hash = std::array<std::uint8_t, 32>;

// HMAC-SHA256 of a message that comes in pieces.
class HmacSha256 {
 public:
  explicit HmacSha256(std::string_view key);
  ~HmacSha256();
  HmacSha256(const HmacSha256&) = delete;
  HmacSha256& operator=(const HmacSha256&) = delete;

  void update(std::string_view piece);
  // The hash of all pieces. Once, at the end.
  Hash finish();

 private:
  struct State;
  std::unique_ptr<State> state_;
};

Hash hmac(std::string_view key, std::string_view message);

// The bytes as they stand in memory, for Base64 and the like.
inline std::string_view bytesOf(const Hash& hash) {
  return {reinterpret_cast<const char*>(hash.data()), hash.size()};
}

// Reads pairs of hexadecimal digits from the left within each run of digits; other characters are skipped,
// and a run of an odd length ends in a byte of its single last digit.
std::string hexBytes(std::string_view text);
// Two lower-case digits for each byte.
std::string hexText(std::string_view bytes);

}  // namespace sorn::support
