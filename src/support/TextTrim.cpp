#include "support/TextTrim.h"

#include <algorithm>
#include <limits>
#include <memory>

#include <unicode/ubrk.h>
#include <unicode/utext.h>

#include "support/Characters.h"

namespace sorn::support {

namespace {

template <class Dropped>
std::string_view trim(std::string_view text, Dropped dropped) {
  std::size_t begin = 0;
  for (std::size_t at = 0; at < text.size() && dropped(nextCharacter(text, at));) begin = at;
  std::size_t end = text.size();
  for (std::size_t at = end; at > begin && dropped(previousCharacter(text, at));) end = at;
  return text.substr(begin, end - begin);
}

struct IcuDeleter {
  void operator()(UBreakIterator* iterator) const { ubrk_close(iterator); }
  void operator()(UText* text) const { utext_close(text); }
};

std::size_t countWithBreaks(std::string_view text) {
  UErrorCode status = U_ZERO_ERROR;
  const std::unique_ptr<UText, IcuDeleter> source(
      utext_openUTF8(nullptr, text.data(), static_cast<std::int64_t>(text.size()), &status));
  const std::unique_ptr<UBreakIterator, IcuDeleter> breaks(
      ubrk_open(UBRK_CHARACTER, "en", nullptr, 0, &status));
  ubrk_setUText(breaks.get(), source.get(), &status);
  // Without ICU's data nothing can be counted; the bytes are never fewer than the characters.
  if (U_FAILURE(status)) return text.size();
  std::size_t count = 0;
  while (ubrk_next(breaks.get()) != UBRK_DONE) ++count;
  return count;
}

int hexValue(char character) {
  if (character >= '0' && character <= '9') return character - '0';
  const char lowered = static_cast<char>(character | 0x20);
  return lowered >= 'a' && lowered <= 'f' ? lowered - 'a' + 10 : -1;
}

bool startsWithDigit(std::string_view text) { return !text.empty() && hexValue(text.front()) >= 0; }

}  // namespace

std::string_view trimWhitespaceAndNewlines(std::string_view text) {
  return trim(text, isWhitespaceOrNewline);
}
std::string_view trimControlCharacters(std::string_view text) { return trim(text, isControl); }
std::string_view trimNotAlphanumeric(std::string_view text) {
  return trim(text, [](CodePoint character) { return !isAlphanumeric(character); });
}

std::size_t graphemeCount(std::string_view text) {
  // In ASCII every byte is a cluster, but for the line ends of two bytes.
  const bool isSimple = std::all_of(text.begin(), text.end(), [](char one) {
    return static_cast<unsigned char>(one) < 0x80 && one != '\r';
  });
  return isSimple ? text.size() : countWithBreaks(text);
}

std::optional<std::uint64_t> scanHex(std::string_view text) {
  for (std::size_t at = 0; at < text.size() && isWhitespaceOrNewline(nextCharacter(text, at));) {
    text.remove_prefix(at);
    at = 0;
  }
  const bool isPrefixed = text.starts_with("0x") || text.starts_with("0X");
  if (isPrefixed && startsWithDigit(text.substr(2))) text.remove_prefix(2);
  if (!startsWithDigit(text)) return std::nullopt;
  constexpr std::uint64_t largest = std::numeric_limits<std::uint64_t>::max();
  std::uint64_t number = 0;
  for (; startsWithDigit(text); text.remove_prefix(1)) {
    // What does not fit counts as the largest number, as a scanner of the C library has it.
    if (number > largest >> 4) return largest;
    number = number << 4 | static_cast<std::uint64_t>(hexValue(text.front()));
  }
  return number;
}

}  // namespace sorn::support
