#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace sorn::support {

// Code points of UTF-8 text and the classes that ICU's regular expressions give them.

using CodePoint = std::int32_t;
inline constexpr CodePoint noCharacter = -1;

// The code point at `at`, which moves behind it; `noCharacter` for a byte that is no valid UTF-8, which is
// skipped alone.
CodePoint nextCharacter(std::string_view text, std::size_t& at);
// The code point before `at`, which moves to its start.
CodePoint previousCharacter(std::string_view text, std::size_t& at);

// \w: alphabetic, mark, decimal digit, connector punctuation, and the two joiners.
bool isWordCharacter(CodePoint character);
// \d
bool isDecimalDigit(CodePoint character);
// What "." stops at: U+000A to U+000D, U+0085, U+2028, U+2029.
bool isLineEnd(CodePoint character);
// What \b looks through: combining characters and format controls.
bool isCombining(CodePoint character);
// Whether \b matches between the character before `at` and the one there.
bool isWordBoundary(std::string_view text, std::size_t at);

// A letter, mark or number.
bool isAlphanumeric(CodePoint character);
// The categories Cc and Cf.
bool isControl(CodePoint character);
bool isWhitespaceOrNewline(CodePoint character);

}  // namespace sorn::support
