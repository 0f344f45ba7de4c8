#include "sorn-emulator/Encoding.h"

#include <array>
#include <chrono>
#include <memory>
#include <stdexcept>

#include <openssl/core_names.h>
#include <openssl/evp.h>
#include <openssl/params.h>
#include <zlib.h>

namespace sorn::emulator {

namespace {

int hexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

const unsigned char* unsignedBytes(std::string_view bytes) {
  // EVP_MAC takes a null key for "keep the one you have", so an empty text must not become a null pointer.
  static constexpr unsigned char none = 0;
  return bytes.empty() ? &none : reinterpret_cast<const unsigned char*>(bytes.data());
}

}  // namespace

std::string base64(std::string_view bytes) {
  std::string text((bytes.size() + 2) / 3 * 4 + 1, '\0');
  EVP_EncodeBlock(reinterpret_cast<unsigned char*>(text.data()), unsignedBytes(bytes),
                  static_cast<int>(bytes.size()));
  text.pop_back();
  return text;
}

std::string percentDecoded(std::string_view text) {
  std::string decoded;
  decoded.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    const int high = text[i] == '%' && i + 2 < text.size() ? hexDigit(text[i + 1]) : -1;
    const int low = high >= 0 ? hexDigit(text[i + 2]) : -1;
    if (low >= 0) {
      decoded.push_back(static_cast<char>(high * 16 + low));
      i += 2;
    } else {
      decoded.push_back(text[i]);
    }
  }
  return decoded;
}

bool isUtf8(std::string_view bytes) {
  const auto at = [&](std::size_t i) { return static_cast<unsigned char>(bytes[i]); };
  const auto isBetween = [](int byte, int low, int high) { return byte >= low && byte <= high; };
  for (std::size_t i = 0; i < bytes.size();) {
    const int first = at(i++);
    if (first < 0x80) continue;
    if (!isBetween(first, 0xC2, 0xF4)) return false;
    const std::size_t more = first < 0xE0 ? 1 : first < 0xF0 ? 2 : 3;
    if (bytes.size() - i < more) return false;
    const int lowest = first == 0xE0 ? 0xA0 : first == 0xF0 ? 0x90 : 0x80;
    const int highest = first == 0xED ? 0x9F : first == 0xF4 ? 0x8F : 0xBF;
    if (!isBetween(at(i), lowest, highest)) return false;
    for (std::size_t k = 1; k < more; ++k) {
      if (!isBetween(at(i + k), 0x80, 0xBF)) return false;
    }
    i += more;
  }
  return true;
}

std::string gzipped(std::string_view bytes) {
  z_stream stream{};
  // 15 window bits, and 16 more ask zlib for a gzip header and trailer.
  if (deflateInit2(&stream, Z_DEFAULT_COMPRESSION, Z_DEFLATED, 15 + 16, 8, Z_DEFAULT_STRATEGY) != Z_OK) {
    throw std::runtime_error("zlib could not start");
  }
  std::string packed(deflateBound(&stream, bytes.size()), '\0');
  stream.next_in = const_cast<unsigned char*>(unsignedBytes(bytes));
  stream.avail_in = static_cast<unsigned>(bytes.size());
  stream.next_out = reinterpret_cast<unsigned char*>(packed.data());
  stream.avail_out = static_cast<unsigned>(packed.size());
  const int result = deflate(&stream, Z_FINISH);
  packed.resize(stream.total_out);
  deflateEnd(&stream);
  if (result != Z_STREAM_END) throw std::runtime_error("zlib could not pack");
  return packed;
}

std::string hmacSha256(std::string_view key, std::string_view head, std::string_view tail) {
  using Mac = std::unique_ptr<EVP_MAC, decltype(&EVP_MAC_free)>;
  using Context = std::unique_ptr<EVP_MAC_CTX, decltype(&EVP_MAC_CTX_free)>;
  const Mac mac(EVP_MAC_fetch(nullptr, "HMAC", nullptr), &EVP_MAC_free);
  const Context context(EVP_MAC_CTX_new(mac.get()), &EVP_MAC_CTX_free);
  std::string digest = "SHA256";
  const std::array<OSSL_PARAM, 2> parameters{
      OSSL_PARAM_construct_utf8_string(OSSL_MAC_PARAM_DIGEST, digest.data(), 0), OSSL_PARAM_construct_end()};
  std::string code(32, '\0');
  std::size_t length = 0;
  const bool done =
      EVP_MAC_init(context.get(), unsignedBytes(key), key.size(), parameters.data()) == 1 &&
      EVP_MAC_update(context.get(), unsignedBytes(head), head.size()) == 1 &&
      EVP_MAC_update(context.get(), unsignedBytes(tail), tail.size()) == 1 &&
      EVP_MAC_final(context.get(), reinterpret_cast<unsigned char*>(code.data()), &length, code.size()) == 1;
  if (!done || length != code.size()) throw std::runtime_error("OpenSSL could not compute a signature");
  return code;
}

std::string shortDigest(std::string_view bytes) {
  std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
  unsigned length = 0;
  EVP_Digest(unsignedBytes(bytes), bytes.size(), digest.data(), &length, EVP_sha256(), nullptr);
  static constexpr std::string_view digits = "0123456789abcdef";
  std::string text;
  for (std::size_t i = 0; i < 8; ++i) {
    text.push_back(digits[digest[i] >> 4]);
    text.push_back(digits[digest[i] & 15]);
  }
  return text;
}

double now() {
  return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
}

}  // namespace sorn::emulator
