#include "support/json/JsonWriter.h"

#include <array>
#include <charconv>
#include <cmath>

#include "support/json/Json.h"
#include "support/json/JsonMend.h"
#include "support/json/TextScan.h"

namespace sorn::support {

namespace {

constexpr char plain = 0;
constexpr char beyondAscii = 1;
constexpr char control = 'u';

// For each byte what follows the backslash in its escape, or one of the first two where it needs none.
constexpr std::array<char, 256> escapes = [] {
  std::array<char, 256> table{};
  for (std::size_t byte = 0; byte < 0x20; ++byte) table[byte] = control;
  for (std::size_t byte = 0x80; byte < 0x100; ++byte) table[byte] = beyondAscii;
  table['\b'] = 'b';
  table['\f'] = 'f';
  table['\n'] = 'n';
  table['\r'] = 'r';
  table['\t'] = 't';
  table['"'] = '"';
  table['\\'] = '\\';
  table['/'] = '/';
  return table;
}();

char escapeOf(char character) { return escapes[static_cast<unsigned char>(character)]; }

void appendEscape(std::string& out, char character, char escape) {
  out += '\\';
  out += escape;
  if (escape != control) return;
  constexpr std::string_view digits = "0123456789abcdef";
  const auto byte = static_cast<unsigned char>(character);
  out += "00";
  out += digits[byte >> 4];
  out += digits[byte & 15];
}

// Appends a text in which something needs an escape.
void appendEscaped(std::string& out, std::string_view text) {
  std::size_t begin = 0;
  for (std::size_t at = 0; at < text.size(); ++at) {
    const char escape = escapeOf(text[at]);
    if (escape == plain || escape == beyondAscii) continue;
    out.append(text.data() + begin, at - begin);
    appendEscape(out, text[at], escape);
    begin = at + 1;
  }
  out.append(text.data() + begin, text.size() - begin);
}

// Writes a free-form value; stops at the first thing that JSON cannot hold.
class ValueWriter {
 public:
  explicit ValueWriter(Writer& writer) : writer_(writer) {}

  bool write(const Value& value) {
    std::visit([this](const auto& held) { append(held); }, value.storage());
    return fits_ && writer_.isValid();
  }

 private:
  void append(std::nullptr_t) { writer_.null(); }
  void append(bool boolean) { writer_.boolean(boolean); }
  void append(std::int64_t integer) { writer_.integer(integer); }
  void append(double number) { writer_.number(number); }
  void append(const std::string& text) { writer_.text(text); }
  void append(Date) { fits_ = false; }
  void append(const Decimal& decimal) {
    if (isFiniteJsonNumber(decimal.digits)) {
      writer_.raw(decimal.digits);
    } else {
      fits_ = false;
    }
  }
  void append(const List& list) {
    if (!enter()) return;
    writer_.beginArray();
    for (const Value& element : list) {
      if (!write(element)) return;
    }
    writer_.endArray();
    --depth_;
  }
  void append(const Dictionary& dictionary) {
    if (!enter()) return;
    writer_.beginObject();
    for (const auto& [key, value] : dictionary) {
      writer_.key(key);
      if (!write(value)) return;
    }
    writer_.endObject();
    --depth_;
  }
  bool enter() {
    if (++depth_ > jsonNestingLimit) fits_ = false;
    return fits_;
  }

  Writer& writer_;
  std::size_t depth_ = 0;
  bool fits_ = true;
};

std::optional<std::string> written(const Value& value, Writer::Form form) {
  if (!value.as<List>() && !value.as<Dictionary>()) return std::nullopt;
  std::string text;
  Writer writer(text, form);
  if (!ValueWriter(writer).write(value)) return std::nullopt;
  return text;
}

}  // namespace

bool appendText(std::string& out, std::string_view text) { return appendText(out, {}, text); }

bool appendText(std::string& out, std::string_view prefix, std::string_view text) {
  auto plainLength =
      static_cast<std::size_t>(skipPlainText<'/'>(text.data(), text.data() + text.size()) - text.data());
  while (plainLength < text.size() && escapeOf(text[plainLength]) == plain) ++plainLength;
  const bool isPlain = plainLength == text.size();
  if (!isPlain && !isValidUtf8(text)) return false;
  // Room for all at once, filled with the quotes.
  std::size_t at = out.size() + 1;
  out.append(prefix.size() + plainLength + 2, '"');
  at += prefix.copy(out.data() + at, prefix.size());
  text.copy(out.data() + at, plainLength);
  if (isPlain) return true;
  out.pop_back();
  appendEscaped(out, text.substr(plainLength));
  out += '"';
  return true;
}

void appendNumber(std::string& out, std::int64_t number) {
  char digits[24];
  const auto result = std::to_chars(digits, digits + sizeof digits, number);
  out.append(digits, result.ptr);
}

bool appendNumber(std::string& out, double number) {
  constexpr double largestPlain = 1e15;
  if (!std::isfinite(number)) return false;
  // The shortest form of a whole number may be an exponent, such as 1e+05; this one reads better.
  if (std::abs(number) < largestPlain && std::trunc(number) == number) {
    appendNumber(out, static_cast<std::int64_t>(number));
    return true;
  }
  char digits[32];
  const auto result = std::to_chars(digits, digits + sizeof digits, number);
  out.append(digits, result.ptr);
  return true;
}

bool appendValue(std::string& out, const Value& value) {
  // What most attributes are needs no writer.
  if (const auto* text = value.as<std::string>()) return appendText(out, *text);
  if (const auto* integer = value.as<std::int64_t>()) return appendNumber(out, *integer), true;
  const std::size_t before = out.size();
  Writer writer(out);
  if (ValueWriter(writer).write(value)) return true;
  out.resize(before);
  return false;
}

std::optional<std::string> compactText(const Value& value) { return written(value, Writer::Form::compact); }
std::optional<std::string> prettyText(const Value& value) { return written(value, Writer::Form::pretty); }

void Writer::key(std::string_view name) {
  separate();
  checked(appendText(out_, name));
  out_ += form_ == Form::pretty ? " : " : ":";
  afterKey_ = true;
}

void Writer::null() {
  separate();
  out_ += "null";
}

void Writer::boolean(bool value) {
  separate();
  out_ += value ? "true" : "false";
}

void Writer::integer(std::int64_t value) {
  separate();
  appendNumber(out_, value);
}

void Writer::number(double value) {
  separate();
  checked(appendNumber(out_, value));
}

void Writer::text(std::string_view value) {
  separate();
  checked(appendText(out_, value));
}

void Writer::value(const Value& value) {
  if (!ValueWriter(*this).write(value)) valid_ = false;
}

void Writer::raw(std::string_view json) {
  separate();
  out_ += json;
}

// Puts the comma before a member or element that is not the first, and its line.
void Writer::separate() {
  if (afterKey_) {
    afterKey_ = false;
    return;
  }
  if (!first_) out_ += ',';
  first_ = false;
  if (form_ == Form::pretty && depth_ > 0) breakLine();
}

void Writer::begin(char bracket) {
  separate();
  out_ += bracket;
  ++depth_;
  first_ = true;
}

void Writer::end(char bracket) {
  --depth_;
  if (form_ == Form::pretty) {
    if (first_) out_ += '\n';
    breakLine();
  }
  out_ += bracket;
  first_ = false;
}

void Writer::breakLine() {
  out_ += '\n';
  out_.append(2 * depth_, ' ');
}

void Writer::checked(bool written) {
  if (written) return;
  valid_ = false;
  out_ += "null";
}

}  // namespace sorn::support
