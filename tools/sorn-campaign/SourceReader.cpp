#include <algorithm>
#include <cstdint>
#include <utility>

#include "sorn-campaign/Source.h"
#include "support/json/Json.h"

namespace sorn::tool {

namespace {

constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";

void appendUtf8(std::string& out, std::uint32_t point) {
  const auto tail = [&](unsigned shift) { out += static_cast<char>(0x80 | ((point >> shift) & 0x3F)); };
  if (point < 0x80) {
    out += static_cast<char>(point);
  } else if (point < 0x800) {
    out += static_cast<char>(0xC0 | (point >> 6));
    tail(0);
  } else if (point < 0x10000) {
    out += static_cast<char>(0xE0 | (point >> 12));
    tail(6);
    tail(0);
  } else {
    out += static_cast<char>(0xF0 | (point >> 18));
    tail(12);
    tail(6);
    tail(0);
  }
}

// How many bytes the character takes that begins with this byte, if it is well formed.
std::size_t lengthOfCharacter(char lead) {
  const auto byte = static_cast<unsigned char>(lead);
  if (byte < 0xC0) return 1;
  if (byte < 0xE0) return 2;
  return byte < 0xF0 ? 3 : 4;
}

// Reads by recursive descent, which the bound on nesting keeps shallow. Each `read` is false after a fault.
class Reader {
 public:
  Reader(std::string_view text, SyntaxFault& fault) : text_(text), fault_(fault) {
    if (text_.starts_with(byteOrderMark)) at_ = byteOrderMark.size();
  }

  bool readDocument(SourceNode& root) {
    skipBlanks();
    const std::size_t begin = at_;
    if (!readValue(root)) return false;
    skipBlanks();
    if (at_ < text_.size()) return fail(at_, "unexpected text behind the document");
    if (text_[begin] == '[' || text_[begin] == '{') return true;
    return fail(begin, "the document is neither a list nor an object");
  }

 private:
  bool fail(std::size_t offset, std::string cause) {
    fault_ = {offset, std::move(cause)};
    return false;
  }
  char next() const { return at_ < text_.size() ? text_[at_] : '\0'; }
  bool take(char character) {
    if (next() != character) return false;
    ++at_;
    return true;
  }
  void skipBlanks() { at_ = std::min(text_.find_first_not_of(" \t\r\n", at_), text_.size()); }

  bool readValue(SourceNode& node) {
    node.offset = at_;
    switch (next()) {
      case '{':
        return readContainer('}', [&] { return readMember(node); });
      case '[':
        return readContainer(']', [&] { return readValue(node.values.emplace_back()); });
      case '"': {
        std::string ignored;
        return readText(ignored);
      }
      default:
        return readScalar();
    }
  }

  template <class ReadItem>
  bool readContainer(char closing, ReadItem readItem) {
    if (++depth_ > support::jsonNestingLimit) return fail(at_, "nested more than 512 levels deep");
    ++at_;
    skipBlanks();
    bool isFirst = true;
    while (!take(closing)) {
      if (!isFirst && !readSeparator(closing)) return false;
      // The comma just read may have been the one to spare.
      if (!isFirst && take(closing)) break;
      if (!readItem()) return false;
      isFirst = false;
      skipBlanks();
    }
    --depth_;
    return true;
  }

  bool readSeparator(char closing) {
    if (!take(',')) {
      return fail(at_, std::string("expected a comma or a closing \"") + closing + "\"");
    }
    skipBlanks();
    return true;
  }

  bool readMember(SourceNode& object) {
    std::string key;
    if (next() != '"') return fail(at_, "expected a key in quotes");
    if (!readText(key)) return false;
    skipBlanks();
    if (!take(':')) return fail(at_, "expected a colon behind the key");
    skipBlanks();
    object.keys.push_back(std::move(key));
    return readValue(object.values.emplace_back());
  }

  bool readScalar() {
    const std::size_t begin = at_;
    const std::size_t end = std::min(text_.find_first_of(" \t\r\n,:[]{}\"", begin), text_.size());
    const std::string_view word = text_.substr(begin, end - begin);
    at_ = end;
    // Only a whole document may begin with the mark, and the parser takes each word for one.
    const bool isMarked = word.starts_with(byteOrderMark);
    if (!isMarked && support::Document::parse(word, support::Fragments::yes)) return true;
    return fail(begin, begin < text_.size() ? "expected a value" : "the document ends too early");
  }

  bool readText(std::string& text) {
    const std::size_t begin = at_++;
    while (at_ < text_.size()) {
      const char character = text_[at_];
      if (character == '"') {
        ++at_;
        return true;
      }
      if (static_cast<unsigned char>(character) < 0x20) return fail(at_, "a control character in a text");
      if (character == '\\' ? !readEscape(text) : !readCharacter(text)) return false;
    }
    return fail(begin, "a text without its closing quote");
  }

  bool readCharacter(std::string& text) {
    const std::string_view character = text_.substr(at_, lengthOfCharacter(text_[at_]));
    if (!support::isValidUtf8(character)) return fail(at_, "a byte that is not UTF-8");
    text += character;
    at_ += character.size();
    return true;
  }

  bool readEscape(std::string& text) {
    constexpr std::string_view escapes = "\"\\/bfnrt";
    constexpr std::string_view meanings = "\"\\/\b\f\n\r\t";
    const std::size_t begin = at_++;
    if (take('u')) return readUnicodeEscape(begin, text);
    const std::size_t found = at_ < text_.size() ? escapes.find(text_[at_]) : std::string_view::npos;
    if (found == std::string_view::npos) return fail(begin, "an unknown escape in a text");
    text += meanings[found];
    ++at_;
    return true;
  }

  // Characters beyond U+FFFF stand as two escapes, the halves of a surrogate pair.
  bool readUnicodeEscape(std::size_t begin, std::string& text) {
    std::uint32_t unit = 0;
    std::uint32_t low = 0;
    if (!readUnit(unit)) return fail(begin, "an escape without four hexadecimal digits");
    if (unit >= 0xD800 && unit < 0xE000) {
      const bool isPair =
          unit < 0xDC00 && take('\\') && take('u') && readUnit(low) && low >= 0xDC00 && low < 0xE000;
      if (!isPair) return fail(begin, "an escape that is half a character");
      unit = 0x10000 + ((unit - 0xD800) << 10) + (low - 0xDC00);
    }
    appendUtf8(text, unit);
    return true;
  }

  bool readUnit(std::uint32_t& unit) {
    for (int i = 0; i < 4; ++i, ++at_) {
      constexpr std::string_view digits = "0123456789abcdefABCDEF";
      const std::size_t digit = at_ < text_.size() ? digits.find(text_[at_]) : std::string_view::npos;
      if (digit == std::string_view::npos) return false;
      unit = unit << 4 | static_cast<std::uint32_t>(digit < 16 ? digit : digit - 6);
    }
    return true;
  }

  std::string_view text_;
  SyntaxFault& fault_;
  std::size_t at_ = 0;
  std::size_t depth_ = 0;
};

}  // namespace

std::optional<SourceNode> readSource(std::string_view text, SyntaxFault& fault) {
  std::optional<SourceNode> root(std::in_place);
  if (!Reader(text, fault).readDocument(*root)) root.reset();
  return root;
}

}  // namespace sorn::tool
