#include "support/json/JsonCheck.h"

#include <array>
#include <cstddef>
#include <cstdint>

#include "support/json/Json.h"
#include "support/json/TextScan.h"

namespace sorn::support {

namespace {

constexpr std::uint8_t plain = 0;
constexpr std::uint8_t beyondAscii = 1;
constexpr std::uint8_t quote = 2;
constexpr std::uint8_t backslash = 3;
constexpr std::uint8_t forbidden = 4;  // a control

// What a byte is inside a text.
constexpr std::array<std::uint8_t, 256> textBytes = [] {
  std::array<std::uint8_t, 256> table{};
  for (std::size_t byte = 0; byte < 0x20; ++byte) table[byte] = forbidden;
  for (std::size_t byte = 0x80; byte < 0x100; ++byte) table[byte] = beyondAscii;
  table['"'] = quote;
  table['\\'] = backslash;
  return table;
}();

bool isDigit(char character) { return character >= '0' && character <= '9'; }

// Goes through the text once. Every step takes the place of the next byte and gives the place behind what it
// has taken, or nothing when the text is not as it should be: the place stays in a register all the way. The
// end is kept apart by a check at each read, so nothing needs to follow the text.
class Check {
 public:
  Check(std::string_view json, std::span<const std::string_view> keys)
      : begin_(json.data()), end_(json.data() + json.size()), keys_(keys) {}

  bool run() {
    const char* at = begin_;
    if (peek(at) != '{') return false;
    while (true) {
      at = value(at);
      if (!at) return false;
      // Closes what ends here, then goes on with the next member or element.
      while (true) {
        if (depth_ == 0) return at == end_;
        if (at == end_) return false;
        const char next = *at++;
        if (next == ',') {
          if (inObject()) at = key(at);
          if (!at) return false;
          break;
        }
        if (next != (inObject() ? '}' : ']')) return false;
        --depth_;
      }
    }
  }

  bool isBeyondAscii() const { return beyondAscii_; }

 private:
  static constexpr unsigned deepest = 64;
  // Numbers within these bounds are far from the largest double.
  static constexpr std::ptrdiff_t longestMantissa = 100;
  static constexpr std::ptrdiff_t longestExponent = 2;

  char peek(const char* at) const { return at < end_ ? *at : '\0'; }
  bool inObject() const { return (objects_ >> (depth_ - 1)) & 1; }

  // Takes a scalar or an empty container, or steps into containers up to their first scalar.
  const char* value(const char* at) {
    while (true) {
      switch (peek(at)) {
        case '{':
          if (!enter(true)) return nullptr;
          if (peek(++at) == '}') return leaveEmpty(at);
          at = key(at);
          if (!at) return nullptr;
          break;
        case '[':
          if (!enter(false)) return nullptr;
          if (peek(++at) == ']') return leaveEmpty(at);
          break;
        case '"':
          return text(at + 1);
        case 't':
          return literal(at, "true");
        case 'f':
          return literal(at, "false");
        case 'n':
          return literal(at, "null");
        default:
          return number(at);
      }
    }
  }

  bool enter(bool object) {
    if (depth_ == deepest) return false;
    const std::uint64_t bit = std::uint64_t{1} << depth_++;
    objects_ = object ? objects_ | bit : objects_ & ~bit;
    return true;
  }
  const char* leaveEmpty(const char* at) {
    --depth_;
    return at + 1;
  }

  const char* key(const char* at) {
    if (peek(at) != '"') return nullptr;
    const char* const begin = at + 1;
    escaped_ = false;
    at = text(begin);
    if (!at) return nullptr;
    const std::string_view name(begin, static_cast<std::size_t>(at - 1 - begin));
    if (depth_ == 1 && (escaped_ || !isFree(name))) return nullptr;
    return peek(at) == ':' ? at + 1 : nullptr;
  }

  bool isFree(std::string_view name) const {
    for (const std::string_view key : keys_) {
      if (key.size() == name.size() && key == name) return false;
    }
    return true;
  }

  // Behind the opening quote; takes the closing one as well, which most texts have at the first stop.
  const char* text(const char* at) {
    at = skipPlainText(at, end_);
    return peek(at) == '"' ? at + 1 : restOfText(at);
  }

  const char* restOfText(const char* at) {
    while (true) {
      while (at < end_ && textBytes[static_cast<unsigned char>(*at)] == plain) ++at;
      if (at == end_) return nullptr;
      switch (textBytes[static_cast<unsigned char>(*at++)]) {
        case quote:
          return at;
        case beyondAscii:
          beyondAscii_ = true;
          break;
        case backslash:
          escaped_ = true;
          at = escape(at);
          if (!at) return nullptr;
          break;
        default:
          return nullptr;
      }
      at = skipPlainText(at, end_);
    }
  }

  // Behind the backslash. A high surrogate must be followed by a low one, which is never alone.
  const char* escape(const char* at) const {
    if (at == end_) return nullptr;
    const char escaped = *at++;
    if (escaped != 'u') {
      return std::string_view("\"\\/bfnrt").find(escaped) != std::string_view::npos ? at : nullptr;
    }
    std::uint32_t unit = 0;
    at = codeUnit(at, unit);
    if (!at || unit < 0xD800 || unit > 0xDFFF) return at;
    if (unit > 0xDBFF) return nullptr;
    at = literal(at, "\\u");
    if (at) at = codeUnit(at, unit);
    return at && unit >= 0xDC00 && unit <= 0xDFFF ? at : nullptr;
  }

  const char* codeUnit(const char* at, std::uint32_t& unit) const {
    if (end_ - at < 4) return nullptr;
    unit = 0;
    for (int count = 0; count < 4; ++count) {
      const char digit = *at++;
      const char lowered = static_cast<char>(digit | 0x20);
      if (isDigit(digit)) {
        unit = unit * 16 + static_cast<std::uint32_t>(digit - '0');
      } else if (lowered >= 'a' && lowered <= 'f') {
        unit = unit * 16 + static_cast<std::uint32_t>(lowered - 'a' + 10);
      } else {
        return nullptr;
      }
    }
    return at;
  }

  const char* literal(const char* at, std::string_view expected) const {
    const std::string_view rest(at, static_cast<std::size_t>(end_ - at));
    return rest.starts_with(expected) ? at + expected.size() : nullptr;
  }

  const char* number(const char* at) const {
    const char* const begin = at;
    if (peek(at) == '-') ++at;
    at = peek(at) == '0' ? at + 1 : digits(at);
    if (at && peek(at) == '.') at = digits(at + 1);
    if (!at || at - begin > longestMantissa) return nullptr;
    if (peek(at) != 'e' && peek(at) != 'E') return at;
    ++at;
    if (peek(at) == '+' || peek(at) == '-') ++at;
    const char* const exponent = at;
    at = digits(at);
    return at && at - exponent <= longestExponent ? at : nullptr;
  }

  const char* digits(const char* at) const {
    if (!isDigit(peek(at))) return nullptr;
    while (isDigit(peek(at))) ++at;
    return at;
  }

  const char* const begin_;
  const char* const end_;
  const std::span<const std::string_view> keys_;
  std::uint64_t objects_ = 0;  // a bit for each open container: whether it is an object
  unsigned depth_ = 0;
  bool beyondAscii_ = false;
  bool escaped_ = false;  // the last text has an escape
};

}  // namespace

bool isPlainObjectWithout(std::string_view json, std::span<const std::string_view> keys) {
  Check check(json, keys);
  return check.run() && (!check.isBeyondAscii() || isValidUtf8(json));
}

}  // namespace sorn::support
