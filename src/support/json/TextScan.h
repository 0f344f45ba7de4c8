#pragma once

#include <bit>
#include <cstdint>
#include <cstring>
#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace sorn::support {

// Moves over the bytes of a JSON text that stand for themselves, many at a time: all of ASCII but controls,
// the quote, the backslash and the `Others`. May stop early, never late: the caller looks at single bytes
// from there on, as it does near the end of a short text.
template <char... Others>
const char* skipPlainText(const char* at, const char* end) {
  constexpr std::uint64_t ones = 0x0101010101010101;
  constexpr std::uint64_t highBits = 0x8080808080808080;
  // Sets the high bit of each byte that is this one; a borrow may set others, but only behind a true one.
  const auto bytesEqualTo = [](std::uint64_t word, char byte) {
    const std::uint64_t difference = word ^ (ones * static_cast<unsigned char>(byte));
    return (difference - ones) & ~difference;
  };
  // Not zero when one of the eight bytes needs a look.
  const auto othersIn = [&](const char* bytes) {
    std::uint64_t word = 0;
    std::memcpy(&word, bytes, sizeof word);
    const std::uint64_t controls = (word - ones * 0x20) & ~word;
    return (word | controls | bytesEqualTo(word, '"') | bytesEqualTo(word, '\\') |
            (std::uint64_t{0} | ... | bytesEqualTo(word, Others))) &
           highBits;
  };
  if (end - at < 8) return at;
#ifdef __SSE2__
  // Sixteen at a time. Compared with sign, what lies beyond ASCII is below the controls' end as well.
  while (end - at >= 16) {
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(at));
    __m128i others = _mm_cmplt_epi8(bytes, _mm_set1_epi8(0x20));
    for (const char byte : {'"', '\\', Others...}) {
      others = _mm_or_si128(others, _mm_cmpeq_epi8(bytes, _mm_set1_epi8(byte)));
    }
    const auto found = static_cast<unsigned>(_mm_movemask_epi8(others));
    if (found != 0) return at + std::countr_zero(found);
    at += 16;
  }
#endif
  while (end - at >= 8) {
    const std::uint64_t found = othersIn(at);
    if (found != 0) {
      if constexpr (std::endian::native == std::endian::little) at += std::countr_zero(found) / 8;
      return at;
    }
    at += 8;
  }
  // The rest together with bytes that have been looked at.
  return othersIn(end - 8) == 0 ? end : at;
}

}  // namespace sorn::support
