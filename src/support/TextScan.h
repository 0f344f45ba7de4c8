#pragma once

#include <bit>
#include <cstdint>
#include <cstring>

namespace sorn::support {

// Moves over the bytes of a JSON text that stand for themselves, eight at a time: all of ASCII but controls,
// the quote, the backslash and the `Others`. May stop early, never late: the caller looks at single bytes
// from there on, as it does near the end.
template <char... Others>
const char* skipPlainText(const char* at, const char* end) {
  constexpr std::uint64_t ones = 0x0101010101010101;
  constexpr std::uint64_t highBits = 0x8080808080808080;
  // Sets the high bit of each byte that is this one; a borrow may set others, but only behind a true one.
  const auto bytesEqualTo = [](std::uint64_t word, char byte) {
    const std::uint64_t difference = word ^ (ones * static_cast<unsigned char>(byte));
    return (difference - ones) & ~difference;
  };
  while (end - at >= 8) {
    std::uint64_t word = 0;
    std::memcpy(&word, at, sizeof word);
    const std::uint64_t controls = (word - ones * 0x20) & ~word;
    const std::uint64_t found = (word | controls | bytesEqualTo(word, '"') | bytesEqualTo(word, '\\') |
                                 (std::uint64_t{0} | ... | bytesEqualTo(word, Others))) &
                                highBits;
    if (found == 0) {
      at += 8;
      continue;
    }
    if constexpr (std::endian::native == std::endian::little) at += std::countr_zero(found) / 8;
    break;
  }
  return at;
}

}  // namespace sorn::support
