#include "events/NamePatterns.h"

#include <algorithm>
#include <array>
#include <cstddef>

#include "support/Characters.h"

namespace sorn::events {

using support::isLineEnd;
using support::isWordCharacter;
using support::nextCharacter;
using support::noCharacter;

namespace {

constexpr std::size_t longestPart = 50;

// The word characters within ASCII, which most keys are made of.
constexpr std::array<bool, 256> isAsciiWord = [] {
  std::array<bool, 256> table{};
  for (const char character :
       std::string_view("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_")) {
    table[static_cast<unsigned char>(character)] = true;
  }
  return table;
}();

bool isNameCharacter(char character) { return character >= 0x20 && character <= 0x7E && character != '\\'; }

}  // namespace

bool isEventName(std::string_view name) {
  if (name.empty() || name.front() == '+') return false;
  std::size_t at = 0;
  if (nextCharacter(name, at) == noCharacter) return false;
  const std::string_view rest = name.substr(at);
  return !rest.empty() && rest.size() <= longestPart &&
         std::all_of(rest.begin(), rest.end(), isNameCharacter);
}

bool isScreenName(std::string_view name) {
  std::size_t length = 0;
  for (const char character : name) {
    if (character == '.') {
      if (length == 0) return false;
      length = 0;
    } else if (!isNameCharacter(character) || ++length > longestPart) {
      return false;
    }
  }
  return length > 0;
}

bool isExtraKey(std::string_view key) {
  for (std::size_t at = 0; at < key.size();) {
    if (isAsciiWord[static_cast<unsigned char>(key[at])]) {
      ++at;
    } else if (!isWordCharacter(nextCharacter(key, at))) {
      return false;
    }
  }
  return !key.empty();
}

std::optional<std::pair<std::string_view, std::string_view>> keyAndValue(std::string_view text) {
  std::size_t begin = 0;
  while (true) {
    begin = std::min(text.find_first_not_of('=', begin), text.size());
    const std::size_t sign = text.find('=', begin);
    if (sign == std::string_view::npos) return std::nullopt;
    std::size_t end = sign + 1;
    for (std::size_t at = end; at < text.size() && !isLineEnd(nextCharacter(text, at));) end = at;
    if (end > sign + 1)
      return std::pair(text.substr(begin, sign - begin), text.substr(sign + 1, end - sign - 1));
    begin = sign + 1;
  }
}

}  // namespace sorn::events
