#include "support/Base64.h"

#include <array>
#include <cstdint>

namespace sorn::support {

namespace {

constexpr std::string_view alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::uint8_t none = 0xFF;

constexpr std::array<std::uint8_t, 256> values = [] {
  std::array<std::uint8_t, 256> table{};
  table.fill(none);
  for (std::size_t index = 0; index < alphabet.size(); ++index) {
    table[static_cast<unsigned char>(alphabet[index])] = static_cast<std::uint8_t>(index);
  }
  return table;
}();

std::uint32_t byteAt(std::string_view bytes, std::size_t index) {
  return index < bytes.size() ? static_cast<unsigned char>(bytes[index]) : 0;
}

}  // namespace

std::string base64Encode(std::string_view bytes) {
  std::string text;
  text.reserve((bytes.size() + 2) / 3 * 4);
  for (std::size_t at = 0; at < bytes.size(); at += 3) {
    const std::uint32_t group = byteAt(bytes, at) << 16 | byteAt(bytes, at + 1) << 8 | byteAt(bytes, at + 2);
    text += alphabet[group >> 18];
    text += alphabet[group >> 12 & 63];
    text += at + 1 < bytes.size() ? alphabet[group >> 6 & 63] : '=';
    text += at + 2 < bytes.size() ? alphabet[group & 63] : '=';
  }
  return text;
}

std::optional<std::string> base64Decode(std::string_view text) {
  if (text.size() % 4 != 0) return std::nullopt;
  std::size_t padding = 0;
  while (padding < 2 && text.ends_with('=')) {
    text.remove_suffix(1);
    ++padding;
  }
  std::string bytes;
  bytes.reserve(text.size() / 4 * 3 + 2);
  std::uint32_t held = 0;
  unsigned bits = 0;
  for (const char character : text) {
    const std::uint8_t value = values[static_cast<unsigned char>(character)];
    if (value == none) return std::nullopt;
    held = held << 6 | value;
    bits += 6;
    if (bits < 8) continue;
    bits -= 8;
    bytes += static_cast<char>(held >> bits & 0xFF);
  }
  return bytes;
}

}  // namespace sorn::support
