#include "support/JsonCheck.h"

#include <array>
#include <cstdint>

#include "support/Json.h"
#include "support/TextScan.h"

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

// Goes through the text once, a cursor on the next byte. Every step is false when the text is not as it
// should be. The end is kept apart by a check at each read, so nothing needs to follow the text.
class Check {
 public:
  Check(std::string_view json, std::span<const std::string_view> keys)
      : at_(json.data()), end_(json.data() + json.size()), keys_(keys) {}

  bool run() {
    if (peek() != '{') return false;
    while (true) {
      if (!value()) return false;
      // Closes what ends here, then goes on with the next member or element.
      while (true) {
        if (depth_ == 0) return at_ == end_;
        if (at_ == end_) return false;
        const char next = *at_++;
        if (next == ',') {
          if (inObject() && !key()) return false;
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

  char peek() const { return at_ < end_ ? *at_ : '\0'; }
  bool inObject() const { return (objects_ >> (depth_ - 1)) & 1; }

  // Takes a scalar or an empty container, or steps into containers up to their first scalar.
  bool value() {
    while (true) {
      switch (peek()) {
        case '{':
          if (!enter(true)) return false;
          if (peek() == '}') return leaveEmpty();
          if (!key()) return false;
          break;
        case '[':
          if (!enter(false)) return false;
          if (peek() == ']') return leaveEmpty();
          break;
        case '"':
          ++at_;
          return text();
        case 't':
          return literal("true");
        case 'f':
          return literal("false");
        case 'n':
          return literal("null");
        default:
          return number();
      }
    }
  }

  bool enter(bool object) {
    if (depth_ == deepest) return false;
    const std::uint64_t bit = std::uint64_t{1} << depth_++;
    objects_ = object ? objects_ | bit : objects_ & ~bit;
    ++at_;
    return true;
  }
  bool leaveEmpty() {
    --depth_;
    ++at_;
    return true;
  }

  bool key() {
    if (peek() != '"') return false;
    const char* begin = ++at_;
    escaped_ = false;
    if (!text()) return false;
    if (depth_ == 1 && (escaped_ || !isFree({begin, static_cast<std::size_t>(at_ - 1 - begin)})))
      return false;
    if (peek() != ':') return false;
    ++at_;
    return true;
  }

  bool isFree(std::string_view name) const {
    for (const std::string_view key : keys_) {
      if (key.size() == name.size() && key == name) return false;
    }
    return true;
  }

  // Behind the opening quote; takes the closing one as well.
  bool text() {
    while (true) {
      // Kept out of the members, so that the loop runs in registers.
      const char* at = skipPlainText(at_, end_);
      while (at < end_ && textBytes[static_cast<unsigned char>(*at)] == plain) ++at;
      at_ = at;
      if (at == end_) return false;
      ++at_;
      switch (textBytes[static_cast<unsigned char>(*at)]) {
        case quote:
          return true;
        case beyondAscii:
          beyondAscii_ = true;
          break;
        case backslash:
          escaped_ = true;
          if (!escape()) return false;
          break;
        default:
          return false;
      }
    }
  }

  // Behind the backslash. A high surrogate must be followed by a low one, which is never alone.
  bool escape() {
    if (at_ == end_) return false;
    const char escaped = *at_++;
    if (escaped != 'u') return std::string_view("\"\\/bfnrt").find(escaped) != std::string_view::npos;
    std::uint32_t unit = 0;
    if (!codeUnit(unit)) return false;
    if (unit < 0xD800 || unit > 0xDFFF) return true;
    if (unit > 0xDBFF || !literal("\\u") || !codeUnit(unit)) return false;
    return unit >= 0xDC00 && unit <= 0xDFFF;
  }

  bool codeUnit(std::uint32_t& unit) {
    if (end_ - at_ < 4) return false;
    unit = 0;
    for (int count = 0; count < 4; ++count) {
      const char digit = *at_++;
      const char lowered = static_cast<char>(digit | 0x20);
      if (isDigit(digit)) {
        unit = unit * 16 + static_cast<std::uint32_t>(digit - '0');
      } else if (lowered >= 'a' && lowered <= 'f') {
        unit = unit * 16 + static_cast<std::uint32_t>(lowered - 'a' + 10);
      } else {
        return false;
      }
    }
    return true;
  }

  bool literal(std::string_view expected) {
    if (!std::string_view(at_, static_cast<std::size_t>(end_ - at_)).starts_with(expected)) return false;
    at_ += expected.size();
    return true;
  }

  bool number() {
    if (peek() == '-') ++at_;
    if (peek() == '0') {
      ++at_;
    } else if (!digits()) {
      return false;
    }
    if (peek() == '.') {
      ++at_;
      if (!digits()) return false;
    }
    if (peek() == 'e' || peek() == 'E') {
      ++at_;
      if (peek() == '+' || peek() == '-') ++at_;
      if (!digits()) return false;
    }
    return true;
  }

  bool digits() {
    if (!isDigit(peek())) return false;
    while (isDigit(peek())) ++at_;
    return true;
  }

  const char* at_;
  const char* end_;
  std::span<const std::string_view> keys_;
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
