#include "support/json/Json.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <utility>

#include <simdjson.h>

#include "support/json/JsonMend.h"

namespace sorn::support {

namespace {

template <class Implementation>
const simdjson::implementation* neverReleased() {
  return new Implementation;
}

// The library's implementations are static objects with destructors. Threads of ours may still be reading
// JSON while the process ends, so from the first use on it works with one that nobody destroys.
void keepImplementation() {
  static const bool isKept = [] {
    auto& active = simdjson::get_active_implementation();
    const std::string_view name = active->name();
#if SIMDJSON_IMPLEMENTATION_ICELAKE
    if (name == "icelake") active = neverReleased<simdjson::icelake::implementation>();
#endif
#if SIMDJSON_IMPLEMENTATION_HASWELL
    if (name == "haswell") active = neverReleased<simdjson::haswell::implementation>();
#endif
#if SIMDJSON_IMPLEMENTATION_WESTMERE
    if (name == "westmere") active = neverReleased<simdjson::westmere::implementation>();
#endif
#if SIMDJSON_IMPLEMENTATION_ARM64
    if (name == "arm64") active = neverReleased<simdjson::arm64::implementation>();
#endif
#if SIMDJSON_IMPLEMENTATION_PPC64
    if (name == "ppc64") active = neverReleased<simdjson::ppc64::implementation>();
#endif
#if SIMDJSON_IMPLEMENTATION_FALLBACK
    if (name == "fallback") active = neverReleased<simdjson::fallback::implementation>();
#endif
    return true;
  }();
  static_cast<void>(isKept);
}

constexpr double twoToThe63 = 9223372036854775808.0;

std::optional<std::int64_t> wholeInteger(double number) {
  if (!(number >= -twoToThe63 && number < twoToThe63) || std::trunc(number) != number) return std::nullopt;
  return static_cast<std::int64_t>(number);
}

std::optional<double> exactDouble(std::int64_t integer) {
  const auto number = static_cast<double>(integer);
  return wholeInteger(number) == integer ? std::optional(number) : std::nullopt;
}

std::optional<bool> truth(double number) {
  return number == 0 || number == 1 ? std::optional(number == 1) : std::nullopt;
}

// The double nearest to these digits; absent when it is not finite.
std::optional<double> nearestDouble(std::string_view digits) {
  double number = 0;
  const auto result = std::from_chars(digits.data(), digits.data() + digits.size(), number);
  return result.ec == std::errc() ? std::optional(number) : std::nullopt;
}

// Whether these digits, a whole number without an exponent, are exactly the double's own.
std::optional<double> exactDouble(std::string_view digits) {
  const std::optional<double> number = nearestDouble(digits);
  if (!number) return std::nullopt;
  char written[400];
  const auto end = std::to_chars(written, written + sizeof written, *number, std::chars_format::fixed, 0);
  const std::string_view text(written, static_cast<std::size_t>(end.ptr - written));
  return end.ec == std::errc() && text == digits ? number : std::nullopt;
}

}  // namespace

struct Document::Parsed {
  simdjson::dom::document document;

  simdjson::error_code parse(std::string_view text) {
    simdjson::error_code code = parse(text, jsonNestingLimit);
    // The parser's bound counts what the innermost container holds as a level of its own.
    if (code == simdjson::DEPTH_ERROR) {
      code = parse(text, jsonNestingLimit + 1);
      if (code == simdjson::SUCCESS && depth() > jsonNestingLimit) code = simdjson::DEPTH_ERROR;
    }
    return code;
  }

  // Gives the texts of these numbers (in the order of the document) the type of decimals.
  void markDecimals(const std::vector<std::size_t>& decimals) {
    auto next = decimals.begin();
    std::size_t texts = 0;
    forEachWord([&](std::uint64_t& word, char type) {
      if (type != '"' || next == decimals.end() || texts++ != *next) return;
      word = (word & 0x00FFFFFFFFFFFFFF) | (std::uint64_t{'#'} << 56);
      ++next;
    });
  }

 private:
  simdjson::error_code parse(std::string_view text, std::size_t nesting) {
    keepImplementation();
    simdjson::dom::parser parser;
    const simdjson::error_code code = parser.allocate(std::max<std::size_t>(text.size(), 1), nesting);
    if (code != simdjson::SUCCESS) return code;
    return parser.parse_into_document(document, text.data(), text.size()).error();
  }

  std::size_t depth() {
    std::size_t open = 0;
    std::size_t deepest = 0;
    forEachWord([&](std::uint64_t&, char type) {
      if (type == '{' || type == '[') deepest = std::max(deepest, ++open);
      if (type == '}' || type == ']') --open;
    });
    return deepest;
  }

  template <class Visit>
  void forEachWord(Visit visit) {
    const std::size_t end = document.tape[0] & 0x00FFFFFFFFFFFFFF;
    for (std::size_t index = 1; index < end; ++index) {
      const char type = static_cast<char>(document.tape[index] >> 56);
      visit(document.tape[index], type);
      if (type == 'l' || type == 'u' || type == 'd') ++index;
    }
  }
};

Document::Document(std::unique_ptr<Parsed> parsed)
    : parsed_(std::move(parsed)),
      tape_(parsed_->document.tape.get()),
      texts_(parsed_->document.string_buf.get()) {}
Document::Document(Document&&) noexcept = default;
Document& Document::operator=(Document&&) noexcept = default;
Document::~Document() = default;

Result<Document, JsonError> Document::parse(std::string_view text, Fragments fragments) {
  if (text.starts_with("\xEF\xBB\xBF")) text.remove_prefix(3);
  auto parsed = std::make_unique<Parsed>();
  simdjson::error_code code = parsed->parse(text);
  // The quick way takes nearly every document; what it may have refused for a number beyond its range or a
  // spare comma is written anew and parsed once more.
  if (code == simdjson::NUMBER_ERROR || code == simdjson::TAPE_ERROR) {
    if (const std::optional<MendedJson> mended = mendJson(text)) {
      code = parsed->parse(mended->text);
      if (code == simdjson::SUCCESS) parsed->markDecimals(mended->decimals);
    }
  }
  if (code != simdjson::SUCCESS) return Failure(JsonError{simdjson::error_message(code)});
  Document document(std::move(parsed));
  if (fragments == Fragments::no && !document.root().isArray() && !document.root().isObject()) {
    return Failure(JsonError{"The document is neither an array nor an object"});
  }
  return document;
}

Kind Node::kind() const {
  switch (type()) {
    case 't':
    case 'f':
      return Kind::boolean;
    case 'l':
      return Kind::integer;
    case 'u':
    case 'd':
      return Kind::number;
    case '#':
      return Kind::decimal;
    case '"':
      return Kind::text;
    case '[':
      return Kind::array;
    case '{':
      return Kind::object;
    default:
      return Kind::null;
  }
}

double Node::number() const {
  if (type() == 'u') return static_cast<double>(tape_[index_ + 1]);
  return std::bit_cast<double>(tape_[index_ + 1]);
}

std::size_t Node::size() const {
  std::size_t count = 0;
  for (auto each = elements().begin(); each != elements().end(); ++each) ++count;
  for (auto each = members().begin(); each != members().end(); ++each) ++count;
  return count;
}

std::optional<Node> Node::at(std::size_t position) const {
  for (const Node& element : elements()) {
    if (position-- == 0) return element;
  }
  return std::nullopt;
}

std::optional<bool> Node::castBoolean() const {
  const Kind held = kind();
  if (held == Kind::boolean) return boolean();
  if (held == Kind::integer) return truth(static_cast<double>(integer()));
  return held == Kind::number ? truth(number()) : std::nullopt;
}

std::optional<std::int64_t> Node::castInteger() const {
  const Kind held = kind();
  if (held == Kind::boolean) return boolean() ? 1 : 0;
  if (held == Kind::integer) return integer();
  return held == Kind::number ? wholeInteger(number()) : std::nullopt;
}

std::optional<double> Node::castDouble() const {
  const Kind held = kind();
  if (held == Kind::boolean) return boolean() ? 1.0 : 0.0;
  if (held == Kind::integer) return exactDouble(integer());
  if (type() == 'u') return exactDouble(std::to_string(tape_[index_ + 1]));
  if (held == Kind::number) return number();
  return held == Kind::decimal ? exactDouble(text()) : std::nullopt;
}

std::optional<std::string_view> Node::castText() const {
  return isText() ? std::optional(text()) : std::nullopt;
}

ReadStatus Node::read(bool& target) const {
  if (isNull()) return ReadStatus::null;
  if (kind() != Kind::boolean) return ReadStatus::mismatch;
  target = boolean();
  return ReadStatus::ok;
}

ReadStatus Node::read(std::int64_t& target) const {
  if (isNull()) return ReadStatus::null;
  const Kind held = kind();
  if (held == Kind::decimal) return ReadStatus::corrupt;
  if (held != Kind::integer && held != Kind::number) return ReadStatus::mismatch;
  const std::optional<std::int64_t> whole = castInteger();
  if (!whole) return ReadStatus::corrupt;
  target = *whole;
  return ReadStatus::ok;
}

ReadStatus Node::read(double& target) const {
  switch (kind()) {
    case Kind::null:
      return ReadStatus::null;
    case Kind::integer:
      target = static_cast<double>(integer());
      return ReadStatus::ok;
    case Kind::number:
      target = number();
      return ReadStatus::ok;
    case Kind::decimal: {
      const std::optional<double> nearest = nearestDouble(text());
      if (!nearest) return ReadStatus::corrupt;
      target = *nearest;
      return ReadStatus::ok;
    }
    default:
      return ReadStatus::mismatch;
  }
}

ReadStatus Node::read(std::string_view& target) const {
  if (isNull()) return ReadStatus::null;
  if (!isText()) return ReadStatus::mismatch;
  target = text();
  return ReadStatus::ok;
}

ReadStatus Node::read(std::string& target) const {
  std::string_view seen;
  const ReadStatus status = read(seen);
  if (status == ReadStatus::ok) target = seen;
  return status;
}

Value Node::toValue() const {
  switch (kind()) {
    case Kind::null:
      return nullptr;
    case Kind::boolean:
      return boolean();
    case Kind::integer:
      return integer();
    case Kind::number:
      return number();
    case Kind::decimal:
      return Decimal{std::string(text())};
    case Kind::text:
      return text();
    case Kind::array: {
      List list;
      for (const Node& element : elements()) list.push_back(element.toValue());
      return list;
    }
    case Kind::object: {
      Dictionary dictionary;
      for (const auto& [key, value] : members()) dictionary.try_emplace(std::string(key), value.toValue());
      return dictionary;
    }
  }
  return nullptr;
}

std::optional<bool> castBoolean(const Value& value) {
  if (const auto* held = value.as<bool>()) return *held;
  if (const auto* held = value.as<std::int64_t>()) return truth(static_cast<double>(*held));
  const auto* held = value.as<double>();
  return held ? truth(*held) : std::nullopt;
}

std::optional<std::int64_t> castInteger(const Value& value) {
  if (const auto* held = value.as<bool>()) return *held ? 1 : 0;
  if (const auto* held = value.as<std::int64_t>()) return *held;
  const auto* held = value.as<double>();
  return held ? wholeInteger(*held) : std::nullopt;
}

std::optional<double> castDouble(const Value& value) {
  if (const auto* held = value.as<bool>()) return *held ? 1.0 : 0.0;
  if (const auto* held = value.as<std::int64_t>()) return exactDouble(*held);
  if (const auto* held = value.as<double>()) return *held;
  const auto* held = value.as<Decimal>();
  return held ? exactDouble(held->digits) : std::nullopt;
}

std::optional<std::string_view> castText(const Value& value) {
  const auto* held = value.as<std::string>();
  return held ? std::optional<std::string_view>(*held) : std::nullopt;
}

bool isValidUtf8(std::string_view text) {
  keepImplementation();
  return simdjson::validate_utf8(text);
}

}  // namespace sorn::support
