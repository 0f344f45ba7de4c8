#include "support/Cipher.h"

#include <algorithm>
#include <cstdio>

#include <nettle/cbc.h>
#include <nettle/des.h>
#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/params.h>

#include "support/Fault.h"

namespace sorn::support {

namespace {

constexpr std::size_t blockSize = DES_BLOCK_SIZE;

const std::uint8_t* bytes(std::string_view text) {
  // An empty key must still be a key, and a null pointer would mean "as before".
  return reinterpret_cast<const std::uint8_t*>(text.empty() ? "" : text.data());
}

void encryptBlocks(const void* key, std::size_t length, std::uint8_t* to, const std::uint8_t* from) {
  des_encrypt(static_cast<const des_ctx*>(key), length, to, from);
}

void decryptBlocks(const void* key, std::size_t length, std::uint8_t* to, const std::uint8_t* from) {
  des_decrypt(static_cast<const des_ctx*>(key), length, to, from);
}

void appendPadding(std::string& text) {
  const std::size_t count = blockSize - text.size() % blockSize;
  text.append(count, static_cast<char>(count));
}

// False when the text, which is not empty, does not end in a padding.
bool removePadding(std::string& text) {
  const auto count = static_cast<std::uint8_t>(text.back());
  if (count == 0 || count > blockSize) return false;
  const std::size_t length = text.size() - count;
  if (text.find_first_not_of(text.back(), length) != std::string::npos) return false;
  text.resize(length);
  return true;
}

}  // namespace

CipherResult tryCrypt(std::string_view key, std::string_view iv, CipherOperation operation,
                      std::string_view input) {
  if (key.size() < blockSize || (!iv.empty() && iv.size() < blockSize))
    return Failure(CipherStatus::parameter);
  const bool encrypts = operation == CipherOperation::encrypt;
  if (!encrypts && input.empty()) return std::string();
  if (!encrypts && input.size() % blockSize != 0) return Failure(CipherStatus::alignment);

  // The first use of OpenSSL takes longer than all else that a start does for its caller, since it lists
  // every algorithm that it has; this library has plain functions.
  des_ctx schedule;
  // The answer is whether the key is a strong one.
  des_set_key(&schedule, bytes(key));
  std::array<std::uint8_t, blockSize> vector{};
  std::copy_n(iv.begin(), std::min(iv.size(), blockSize), vector.begin());
  std::string output(input);
  if (encrypts) appendPadding(output);
  auto* const text = reinterpret_cast<std::uint8_t*>(output.data());
  if (encrypts) {
    cbc_encrypt(&schedule, &encryptBlocks, blockSize, vector.data(), output.size(), text, text);
  } else {
    cbc_decrypt(&schedule, &decryptBlocks, blockSize, vector.data(), output.size(), text, text);
    if (!removePadding(output)) return Failure(CipherStatus::decode);
  }
  return output;
}

std::string crypt(std::string_view key, std::string_view iv, CipherOperation operation,
                  std::string_view input) {
  std::fputs("\n", stdout);
  // A fault ends the process without a chance for the stream.
  std::fflush(stdout);
  CipherResult result = tryCrypt(key, iv, operation, input);
  if (!result) fault("a cipher status that is not negative, not " + std::to_string(result.error()));
  return *std::move(result);
}

namespace {

// Before anything else of OpenSSL. Its exit handler would pull the ground from under threads that still run.
void initialiseOpenSsl() {
  static const bool ready = OPENSSL_init_crypto(OPENSSL_INIT_NO_ATEXIT, nullptr) == 1;
  if (!ready) fault("the cipher library initialises");
}

struct MacDeleter {
  void operator()(EVP_MAC_CTX* context) const { EVP_MAC_CTX_free(context); }
  void operator()(EVP_MAC* algorithm) const { EVP_MAC_free(algorithm); }
};

}  // namespace

struct HmacSha256::State {
  std::unique_ptr<EVP_MAC, MacDeleter> algorithm;
  std::unique_ptr<EVP_MAC_CTX, MacDeleter> context;
};

HmacSha256::HmacSha256(std::string_view key) : state_(std::make_unique<State>()) {
  initialiseOpenSsl();
  state_->algorithm.reset(EVP_MAC_fetch(nullptr, "HMAC", nullptr));
  state_->context.reset(EVP_MAC_CTX_new(state_->algorithm.get()));
  char digest[] = "SHA256";
  const OSSL_PARAM parameters[] = {OSSL_PARAM_construct_utf8_string("digest", digest, 0),
                                   OSSL_PARAM_construct_end()};
  if (!state_->context || EVP_MAC_init(state_->context.get(), bytes(key), key.size(), parameters) != 1) {
    fault("the cipher library offers HMAC-SHA256");
  }
}

HmacSha256::~HmacSha256() = default;

void HmacSha256::update(std::string_view piece) {
  if (EVP_MAC_update(state_->context.get(), bytes(piece), piece.size()) != 1) fault("a hash that goes on");
}

Hash HmacSha256::finish() {
  Hash hash{};
  std::size_t length = 0;
  if (EVP_MAC_final(state_->context.get(), hash.data(), &length, hash.size()) != 1 || length != hash.size()) {
    fault("a hash of 32 bytes");
  }
  return hash;
}

Hash hmac(std::string_view key, std::string_view message) {
  HmacSha256 running(key);
  running.update(message);
  return running.finish();
}

namespace {

int digitValue(char character) {
  if (character >= '0' && character <= '9') return character - '0';
  const char lowered = static_cast<char>(character | 0x20);
  return lowered >= 'a' && lowered <= 'f' ? lowered - 'a' + 10 : -1;
}

}  // namespace

std::string hexBytes(std::string_view text) {
  std::string result;
  result.reserve(text.size() / 2);
  for (std::size_t at = 0; at < text.size(); ++at) {
    const int first = digitValue(text[at]);
    if (first < 0) continue;
    const int second = at + 1 < text.size() ? digitValue(text[at + 1]) : -1;
    if (second >= 0) ++at;
    result += static_cast<char>(second >= 0 ? first * 16 + second : first);
  }
  return result;
}

std::string hexText(std::string_view bytes) {
  constexpr std::string_view digits = "0123456789abcdef";
  std::string result;
  result.reserve(bytes.size() * 2);
  for (const char character : bytes) {
    const auto byte = static_cast<unsigned char>(character);
    result += digits[byte >> 4];
    result += digits[byte & 15];
  }
  return result;
}

}  // namespace sorn::support
