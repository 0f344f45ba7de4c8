#include "support/Cipher.h"

#include <cstdio>

#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/params.h>

#include "support/Fault.h"

namespace sorn::support {

namespace {

constexpr std::size_t blockSize = 8;

// Before anything else of OpenSSL. Its exit handler would pull the ground from under threads that still run.
void initialiseLibrary() {
  static const bool ready = OPENSSL_init_crypto(OPENSSL_INIT_NO_ATEXIT, nullptr) == 1;
  if (!ready) fault("the cipher library initialises");
}

const unsigned char* bytes(std::string_view text) {
  // An empty key must still be a key, and a null pointer would mean "as before".
  return reinterpret_cast<const unsigned char*>(text.empty() ? "" : text.data());
}

struct ContextDeleter {
  void operator()(EVP_CIPHER_CTX* context) const { EVP_CIPHER_CTX_free(context); }
  void operator()(EVP_MAC_CTX* context) const { EVP_MAC_CTX_free(context); }
  void operator()(EVP_MAC* algorithm) const { EVP_MAC_free(algorithm); }
};

}  // namespace

CipherResult tryCrypt(std::string_view key, std::string_view iv, CipherOperation operation,
                      std::string_view input) {
  if (key.size() < blockSize || (!iv.empty() && iv.size() < blockSize)) return {CipherStatus::parameter, {}};
  const bool encrypts = operation == CipherOperation::encrypt;
  if (!encrypts && input.empty()) return {};
  if (!encrypts && input.size() % blockSize != 0) return {CipherStatus::alignment, {}};

  initialiseLibrary();
  // Single DES is not in the default provider; triple DES with the key three times gives the same bytes.
  const std::string once(key.substr(0, blockSize));
  const std::string tripleKey = once + once + once;
  const std::string vector = iv.empty() ? std::string(blockSize, '\0') : std::string(iv.substr(0, blockSize));
  const std::unique_ptr<EVP_CIPHER_CTX, ContextDeleter> context(EVP_CIPHER_CTX_new());
  if (!context || EVP_CipherInit_ex(context.get(), EVP_des_ede3_cbc(), nullptr, bytes(tripleKey),
                                    bytes(vector), encrypts ? 1 : 0) != 1) {
    return {CipherStatus::memory, {}};
  }
  std::string output(input.size() + blockSize, '\0');
  auto* target = reinterpret_cast<unsigned char*>(output.data());
  int moved = 0;
  int last = 0;
  if (EVP_CipherUpdate(context.get(), target, &moved, bytes(input), static_cast<int>(input.size())) != 1) {
    return {CipherStatus::parameter, {}};
  }
  if (EVP_CipherFinal_ex(context.get(), target + moved, &last) != 1) return {CipherStatus::decode, {}};
  output.resize(static_cast<std::size_t>(moved) + static_cast<std::size_t>(last));
  return {CipherStatus::success, std::move(output)};
}

std::string crypt(std::string_view key, std::string_view iv, CipherOperation operation,
                  std::string_view input) {
  std::fputs("\n", stdout);
  // A fault ends the process without a chance for the stream.
  std::fflush(stdout);
  CipherResult result = tryCrypt(key, iv, operation, input);
  if (result.status != CipherStatus::success) {
    fault("a cipher status that is not negative, not " + std::to_string(result.status));
  }
  return std::move(result.output);
}

struct HmacSha256::State {
  std::unique_ptr<EVP_MAC, ContextDeleter> algorithm;
  std::unique_ptr<EVP_MAC_CTX, ContextDeleter> context;
};

HmacSha256::HmacSha256(std::string_view key) : state_(std::make_unique<State>()) {
  initialiseLibrary();
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
