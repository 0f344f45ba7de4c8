#include "support/json/JsonMend.h"

#include <algorithm>
#include <charconv>
#include <cstdint>

namespace sorn::support {

namespace {

constexpr auto absent = std::string_view::npos;

bool isDigit(char character) { return character >= '0' && character <= '9'; }

std::size_t behindDigits(std::string_view text, std::size_t from) {
  while (from < text.size() && isDigit(text[from])) ++from;
  return from;
}

std::size_t behindBlanks(std::string_view text, std::size_t from) {
  const std::size_t found = text.find_first_not_of(" \t\r\n", from);
  return found == absent ? text.size() : found;
}

// The end of the text literal that begins here, behind its closing quote.
std::size_t behindText(std::string_view text, std::size_t from) {
  for (std::size_t at = from + 1; at < text.size(); ++at) {
    if (text[at] == '\\') {
      ++at;
    } else if (text[at] == '"') {
      return at + 1;
    }
  }
  return absent;
}

// Where in powers of ten the first digit that counts stands, as far as needed to tell huge from tiny.
bool isHuge(std::string_view number) {
  const std::size_t exponentAt = number.find_first_of("eE");
  std::int64_t exponent = 0;
  if (exponentAt != absent) {
    std::string_view digits = number.substr(exponentAt + 1);
    const bool negative = digits.front() == '-';
    if (digits.front() == '-' || digits.front() == '+') digits.remove_prefix(1);
    digits.remove_prefix(std::min(digits.find_first_not_of('0'), digits.size() - 1));
    if (digits.size() > 15) return !negative;
    std::from_chars(digits.data(), digits.data() + digits.size(), exponent);
    if (negative) exponent = -exponent;
  }
  const std::string_view mantissa = number.substr(0, exponentAt);
  const std::size_t first = mantissa.find_first_of("123456789");
  if (first == absent) return false;
  const std::size_t point = std::min(mantissa.find('.'), mantissa.size());
  return exponent + static_cast<std::int64_t>(point) - static_cast<std::int64_t>(first) > 0;
}

bool isBeyondDoubles(std::string_view number) {
  double value = 0;
  const auto result = std::from_chars(number.data(), number.data() + number.size(), value);
  return result.ec == std::errc::result_out_of_range && isHuge(number);
}

// Whether neither a 64-bit integer nor a finite double takes the number.
bool isOutOfRange(std::string_view number) {
  if (number.find_first_of(".eE") == absent) {
    std::uint64_t magnitude = 0;
    const bool negative = number.front() == '-';
    const char* first = number.data() + (negative ? 1 : 0);
    const auto result = std::from_chars(first, number.data() + number.size(), magnitude);
    return result.ec != std::errc() || (negative && magnitude > std::uint64_t{1} << 63);
  }
  return isBeyondDoubles(number);
}

// Whether the text is exactly one number as JSON writes it.
bool isJsonNumber(std::string_view text) {
  std::size_t at = text.starts_with('-') ? 1 : 0;
  const std::size_t whole = behindDigits(text, at);
  if (whole == at || (text[at] == '0' && whole > at + 1)) return false;
  at = whole;
  if (at < text.size() && text[at] == '.') {
    const std::size_t fraction = behindDigits(text, at + 1);
    if (fraction == at + 1) return false;
    at = fraction;
  }
  if (at < text.size() && (text[at] == 'e' || text[at] == 'E')) {
    ++at;
    if (at < text.size() && (text[at] == '+' || text[at] == '-')) ++at;
    const std::size_t exponent = behindDigits(text, at);
    if (exponent == at) return false;
    at = exponent;
  }
  return at == text.size();
}

class Mender {
 public:
  explicit Mender(std::string_view text) : text_(text) {}

  std::optional<MendedJson> run() {
    while (at_ < text_.size()) {
      const char character = text_[at_];
      if (character == '"') {
        if (!takeText()) return std::nullopt;
      } else if (character == '-' || isDigit(character)) {
        if (!takeNumber()) return std::nullopt;
      } else if (character == ',' && isSpareComma()) {
        ++at_;
        changed_ = true;
      } else {
        result_.text += character;
        if (behindBlanks(text_, at_) == at_) last_ = character;
        ++at_;
      }
    }
    if (!changed_) return std::nullopt;
    return std::move(result_);
  }

 private:
  bool takeText() {
    const std::size_t end = behindText(text_, at_);
    if (end == absent) return false;
    result_.text += text_.substr(at_, end - at_);
    ++texts_;
    last_ = '"';
    at_ = end;
    return true;
  }

  bool takeNumber() {
    std::size_t end = at_;
    while (end < text_.size() &&
           (isDigit(text_[end]) || std::string_view("+-.eE").find(text_[end]) != absent))
      ++end;
    const std::string_view number = text_.substr(at_, end - at_);
    if (!isJsonNumber(number)) return false;
    const std::size_t next = behindBlanks(text_, end);
    const bool isKey = next < text_.size() && text_[next] == ':';
    // As a text, which the reader marks as a decimal afterwards by its place among the texts.
    if (isOutOfRange(number) && !isKey) {
      result_.decimals.push_back(texts_++);
      result_.text.append("\"").append(number).append("\"");
      changed_ = true;
    } else {
      result_.text += number;
    }
    last_ = '0';
    at_ = end;
    return true;
  }

  bool isSpareComma() const {
    const std::size_t next = behindBlanks(text_, at_ + 1);
    if (next == text_.size() || (text_[next] != ']' && text_[next] != '}')) return false;
    return std::string_view("[{,:").find(last_) == absent && last_ != '\0';
  }

  std::string_view text_;
  std::size_t at_ = 0;
  std::size_t texts_ = 0;
  char last_ = '\0';  // the token before, by its last character
  bool changed_ = false;
  MendedJson result_;
};

}  // namespace

bool isFiniteJsonNumber(std::string_view text) { return isJsonNumber(text) && !isBeyondDoubles(text); }

std::optional<MendedJson> mendJson(std::string_view text) { return Mender(text).run(); }

}  // namespace sorn::support
