#include "support/Characters.h"

#include <unicode/uchar.h>

namespace sorn::support {

namespace {

bool isIn(CodePoint character, std::uint32_t categories) {
  return character != noCharacter && (U_MASK(u_charType(character)) & categories) != 0;
}

bool isAsciiWord(CodePoint character) {
  const CodePoint lowered = character | 0x20;
  return (lowered >= 'a' && lowered <= 'z') || (character >= '0' && character <= '9') || character == '_';
}

}  // namespace

CodePoint nextCharacter(std::string_view text, std::size_t& at) {
  const auto lead = static_cast<unsigned char>(text[at++]);
  if (lead < 0x80) return lead;
  const std::size_t trailing = lead >= 0xF0 ? 3 : lead >= 0xE0 ? 2 : 1;
  if (lead < 0xC2 || lead > 0xF4 || text.size() - at < trailing) return noCharacter;
  CodePoint character = lead & (0x3F >> trailing);
  for (std::size_t index = 0; index < trailing; ++index) {
    const auto byte = static_cast<unsigned char>(text[at + index]);
    if ((byte & 0xC0) != 0x80) return noCharacter;
    character = character << 6 | (byte & 0x3F);
  }
  const bool isOverlong = (trailing == 2 && character < 0x800) || (trailing == 3 && character < 0x10000);
  const bool isSurrogate = character >= 0xD800 && character <= 0xDFFF;
  if (isOverlong || isSurrogate || character > 0x10FFFF) return noCharacter;
  at += trailing;
  return character;
}

CodePoint previousCharacter(std::string_view text, std::size_t& at) {
  const std::size_t end = at;
  for (std::size_t length = 1; length <= 4 && length <= end; ++length) {
    std::size_t next = end - length;
    const CodePoint character = nextCharacter(text, next);
    if (character == noCharacter || next != end) continue;
    at = end - length;
    return character;
  }
  at = end - 1;
  return noCharacter;
}

bool isWordCharacter(CodePoint character) {
  if (character < 0x80) return isAsciiWord(character);
  return u_hasBinaryProperty(character, UCHAR_ALPHABETIC) ||
         isIn(character, U_GC_M_MASK | U_GC_ND_MASK | U_GC_PC_MASK) || character == 0x200C ||
         character == 0x200D;
}

bool isDecimalDigit(CodePoint character) {
  if (character < 0x80) return character >= '0' && character <= '9';
  return isIn(character, U_GC_ND_MASK);
}

bool isLineEnd(CodePoint character) {
  return (character >= 0x0A && character <= 0x0D) || character == 0x85 || character == 0x2028 ||
         character == 0x2029;
}

bool isCombining(CodePoint character) {
  if (character < 0x80) return false;
  return u_hasBinaryProperty(character, UCHAR_GRAPHEME_EXTEND) || isIn(character, U_GC_CF_MASK);
}

bool isWordBoundary(std::string_view text, std::size_t at) {
  bool wordFollows = false;
  if (at < text.size()) {
    std::size_t behind = at;
    const CodePoint next = nextCharacter(text, behind);
    if (isCombining(next)) return false;
    wordFollows = isWordCharacter(next);
  }
  while (at > 0) {
    const CodePoint before = previousCharacter(text, at);
    if (!isCombining(before)) return isWordCharacter(before) != wordFollows;
  }
  return wordFollows;
}

bool isAlphanumeric(CodePoint character) { return isIn(character, U_GC_L_MASK | U_GC_M_MASK | U_GC_N_MASK); }

bool isControl(CodePoint character) { return isIn(character, U_GC_CC_MASK | U_GC_CF_MASK); }

bool isWhitespaceOrNewline(CodePoint character) {
  switch (character) {
    case 0x20:
    case 0x85:
    case 0xA0:
    case 0x1680:
    case 0x2028:
    case 0x2029:
    case 0x202F:
    case 0x205F:
    case 0x3000:
      return true;
    default:
      return (character >= 0x09 && character <= 0x0D) || (character >= 0x2000 && character <= 0x200B);
  }
}

}  // namespace sorn::support
