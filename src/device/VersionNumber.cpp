#include "device/VersionNumber.h"

#include <cstddef>

#include "support/Characters.h"

namespace sorn::device {

using support::CodePoint;
using support::isDecimalDigit;
using support::isLineEnd;
using support::isWordBoundary;
using support::nextCharacter;

namespace {

// The pattern that this reads out, with the options for letter case and comments:
//   (?<version>(?<major>\d+)\.?(?<minor>\d+)?\.?(?<patch>\d+)?)
//   (-.*(?<beta>\bbeta(?<betaNumber>\d+\b))|-.*?(?<otherNumber>\d+(?=\D*$)))?

std::size_t behindDigits(std::string_view text, std::size_t at) {
  for (std::size_t next = at; next < text.size(); at = next) {
    if (!isDecimalDigit(nextCharacter(text, next))) break;
  }
  return at;
}

std::optional<std::string_view> takeDigits(std::string_view text, std::size_t& at) {
  const std::size_t begin = at;
  at = behindDigits(text, begin);
  if (at == begin) return std::nullopt;
  return text.substr(begin, at - begin);
}

void skipPoint(std::string_view text, std::size_t& at) {
  if (text.substr(at).starts_with('.')) ++at;
}

bool beginsWithBeta(std::string_view text) {
  constexpr std::string_view word = "beta";
  if (text.size() < word.size()) return false;
  for (std::size_t index = 0; index < word.size(); ++index) {
    if ((text[index] | 0x20) != word[index]) return false;
  }
  return true;
}

// The number of a "beta" at this place, both words of their own.
std::optional<std::string_view> betaNumber(std::string_view text, std::size_t at) {
  if (!beginsWithBeta(text.substr(at)) || !isWordBoundary(text, at)) return std::nullopt;
  std::size_t end = at + 4;
  const std::optional<std::string_view> number = takeDigits(text, end);
  return number && isWordBoundary(text, end) ? number : std::nullopt;
}

// Reads what follows the "-" at `from`: of the betas on its line the last, else a number that no digit
// follows in the whole text.
void readTail(std::string_view text, std::size_t from, VersionNumber& version) {
  std::optional<std::size_t> lineEnd;
  for (std::size_t at = from; at < text.size();) {
    if (const auto number = betaNumber(text, at); number && !lineEnd) version.beta = number;
    const std::size_t here = at;
    const CodePoint character = nextCharacter(text, at);
    if (isLineEnd(character) && !lineEnd) lineEnd = here;
    if (!isDecimalDigit(character)) continue;
    at = behindDigits(text, here);
    version.other = lineEnd ? std::nullopt : std::optional(text.substr(here, at - here));
  }
  if (version.beta) version.other.reset();
}

}  // namespace

std::optional<VersionNumber> VersionNumber::find(std::string_view text) {
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t here = at;
    if (!isDecimalDigit(nextCharacter(text, at))) continue;
    at = here;
    VersionNumber version;
    version.major = *takeDigits(text, at);
    skipPoint(text, at);
    version.minor = takeDigits(text, at);
    skipPoint(text, at);
    version.patch = takeDigits(text, at);
    if (text.substr(at).starts_with('-')) readTail(text, at + 1, version);
    return version;
  }
  return std::nullopt;
}

}  // namespace sorn::device
