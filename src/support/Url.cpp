#include "support/Url.h"

#include <algorithm>
#include <charconv>
#include <cstdint>

#include "support/json/Json.h"

namespace sorn::support {

namespace {

constexpr auto nowhere = std::string_view::npos;
constexpr std::string_view lettersAndDigits =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";

bool isLetter(char character) {
  const char lowered = static_cast<char>(character | 0x20);
  return lowered >= 'a' && lowered <= 'z';
}

bool isDigit(char character) { return character >= '0' && character <= '9'; }

int hexValue(char character) {
  if (isDigit(character)) return character - '0';
  const char lowered = static_cast<char>(character | 0x20);
  return lowered >= 'a' && lowered <= 'f' ? lowered - 'a' + 10 : -1;
}

bool isEscape(std::string_view text, std::size_t at) {
  return at + 2 < text.size() && hexValue(text[at + 1]) >= 0 && hexValue(text[at + 2]) >= 0;
}

bool isValid(std::string_view text) {
  constexpr std::string_view marks = "!$&'()*+,-./:;=?@_~[]";
  std::size_t hashes = 0;
  for (std::size_t at = 0; at < text.size(); ++at) {
    const char character = text[at];
    if (isLetter(character) || isDigit(character) || marks.find(character) != nowhere) continue;
    if (character == '#' && ++hashes == 1) continue;
    if (character != '%' || !isEscape(text, at)) return false;
  }
  return !text.empty();
}

// The number after the colon; absent when there is none or it is not a number.
std::optional<int> portNumber(std::string_view digits) {
  int number = 0;
  const auto result = std::from_chars(digits.data(), digits.data() + digits.size(), number);
  const bool isWhole =
      !digits.empty() && isDigit(digits.front()) && result.ptr == digits.data() + digits.size();
  return isWhole && result.ec == std::errc() ? std::optional(number) : std::nullopt;
}

}  // namespace

std::optional<Url> Url::parse(std::string text) {
  if (!isValid(text)) return std::nullopt;
  return Url(std::move(text));
}

Url::Url(std::string text) : text_(std::move(text)) {
  std::size_t at = readScheme();
  const std::string_view whole = text_;
  // Opaque, as "mailto:" is: nothing behind the scheme has parts.
  if (at > 0 && !whole.substr(at).starts_with('/')) return;
  if (whole.substr(at).starts_with("//")) at = readAuthority(at + 2);
  const std::size_t end = std::min(whole.find('#', at), whole.size());
  const std::size_t mark = std::min(whole.find('?', at), end);
  path_ = {at, mark - at};
  if (mark < end) query_ = {mark + 1, end - mark - 1};
}

std::optional<std::string_view> Url::part(Part part) const {
  if (part.begin == nowhere) return std::nullopt;
  return std::string_view(text_).substr(part.begin, part.length);
}

// Returns where the rest begins: 0 without a scheme.
std::size_t Url::readScheme() {
  const std::size_t colon = text_.find_first_of(":/?#");
  if (colon == nowhere || text_[colon] != ':' || colon == 0 || !isLetter(text_[0])) return 0;
  const std::string_view name = std::string_view(text_).substr(0, colon);
  const bool isName = std::all_of(name.begin(), name.end(), [](char one) {
    return isLetter(one) || isDigit(one) || one == '+' || one == '-' || one == '.';
  });
  if (!isName) return 0;
  scheme_ = {0, colon};
  return colon + 1;
}

// Takes host and port apart, behind the two slashes; returns where the path begins.
std::size_t Url::readAuthority(std::size_t from) {
  const std::string_view whole = text_;
  const std::size_t end = std::min(whole.find_first_of("/?#", from), whole.size());
  // The last one: a password may hold an "@" by mistake, a host never.
  const std::size_t user = whole.substr(0, end).rfind('@');
  std::size_t begin = user != nowhere && user >= from ? user + 1 : from;
  std::size_t hostEnd = 0;
  std::size_t colon = 0;
  if (begin < end && whole[begin] == '[') {
    ++begin;
    hostEnd = std::min(whole.find(']', begin), end);
    colon = std::min(hostEnd + 1, end);
  } else {
    hostEnd = std::min(whole.find(':', begin), end);
    colon = hostEnd;
  }
  if (hostEnd > begin) host_ = {begin, hostEnd - begin};
  if (colon < end && whole[colon] == ':') port_ = portNumber(whole.substr(colon + 1, end - colon - 1));
  return end;
}

std::string Url::path() const {
  std::string_view path = encodedPath();
  if (path.size() > 1 && path.ends_with('/')) path.remove_suffix(1);
  return percentDecode(path).value_or(std::string(path));
}

Url Url::appendPathComponent(std::string_view component) const {
  static constexpr std::string_view marks = "!$&'()*+,-./:=@_~";
  const std::size_t pathEnd = path_.begin + path_.length;
  std::string joined = text_.substr(0, pathEnd);
  if (!encodedPath().ends_with('/')) joined += '/';
  joined += percentEncode(component, std::string(lettersAndDigits).append(marks));
  joined += text_.substr(pathEnd);
  return Url(std::move(joined));
}

std::string percentEncode(std::string_view text, std::string_view allowed) {
  constexpr std::string_view digits = "0123456789ABCDEF";
  std::string encoded;
  for (const char character : text) {
    if (allowed.find(character) != nowhere) {
      encoded += character;
      continue;
    }
    const auto byte = static_cast<unsigned char>(character);
    encoded += '%';
    encoded += digits[byte >> 4];
    encoded += digits[byte & 15];
  }
  return encoded;
}

std::optional<std::string> percentDecode(std::string_view text) {
  std::string decoded;
  for (std::size_t at = 0; at < text.size(); ++at) {
    if (text[at] != '%') {
      decoded += text[at];
      continue;
    }
    if (!isEscape(text, at)) return std::nullopt;
    decoded += static_cast<char>(hexValue(text[at + 1]) * 16 + hexValue(text[at + 2]));
    at += 2;
  }
  if (!isValidUtf8(decoded)) return std::nullopt;
  return decoded;
}

}  // namespace sorn::support
