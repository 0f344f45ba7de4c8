#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "sorn/Value.h"
#include "support/Result.h"

namespace sorn::support {

// Reading JSON (RFC 8259). `Document` owns a parsed text, `Node` looks at one value in it. The reader is
// strict but for one comma before a closing bracket, and bounds the nesting.

// Containers that a document may nest, both when it is read and when it is written.
inline constexpr std::size_t jsonNestingLimit = 512;

// Whether a lone number, text, boolean or null counts as a document.
enum class Fragments { no, yes };

struct JsonError {
  static constexpr std::string_view domain = "JSON";
  static constexpr int code = 3840;
  std::string description;
};

// `decimal` is a number that neither a 64-bit integer nor a finite double can hold, as its digits.
enum class Kind { null, boolean, integer, number, decimal, text, array, object };

// The outcome of a strict read. `null` is a null where a value was wanted; `mismatch` a value of another
// type; `corrupt` a number that the type cannot hold.
enum class ReadStatus { ok, null, mismatch, corrupt };

// One value of a document, as cheap to copy as a pointer; it must not outlive its document. Every object
// keeps its members in the order of the text; of members with the same key the first one counts.
class Node {
 public:
  class Members;
  class Elements;

  Kind kind() const;
  bool isNull() const { return type() == 'n'; }
  bool isObject() const { return type() == '{'; }
  bool isArray() const { return type() == '['; }
  bool isText() const { return type() == '"'; }

  // The value of exactly this kind; the kind must have been looked at before.
  bool boolean() const { return type() == 't'; }
  std::int64_t integer() const { return std::bit_cast<std::int64_t>(tape_[index_ + 1]); }
  double number() const;
  std::string_view text() const { return textAt(index_); }  // also the digits of a decimal

  // The members of an object and the elements of an array; empty for any other kind.
  Members members() const;
  Elements elements() const;
  std::size_t size() const;
  // Absent when there is no such member or element, or this is no such container.
  std::optional<Node> find(std::string_view key) const;
  std::optional<Node> at(std::size_t position) const;

  // Lossless casts, absent otherwise: a boolean also from the numbers 0 and 1, an integer also from an
  // integral double and from a boolean, a double from every number that it holds exactly and from a boolean.
  std::optional<bool> castBoolean() const;
  std::optional<std::int64_t> castInteger() const;
  std::optional<double> castDouble() const;
  std::optional<std::string_view> castText() const;

  // Strict reads, as records are decoded: the integer takes a whole number however it is written, the double
  // any finite number, and neither takes a boolean. The target is untouched unless the answer is `ok`.
  ReadStatus read(bool& target) const;
  ReadStatus read(std::int64_t& target) const;
  ReadStatus read(double& target) const;
  ReadStatus read(std::string_view& target) const;
  ReadStatus read(std::string& target) const;

  Value toValue() const;

 private:
  friend class Document;
  Node(const std::uint64_t* tape, const std::uint8_t* texts, std::size_t index)
      : tape_(tape), texts_(texts), index_(index) {}

  // The tape of simdjson, whose format that library documents: a word holds a type in its top byte and a
  // payload below; numbers take a second word; the payload of an opening bracket ends with the index behind
  // its closing one, that of a text is an offset to a 32-bit length and the bytes. '#' is our own: a decimal.
  char type() const { return static_cast<char>(tape_[index_] >> 56); }
  std::string_view textAt(std::size_t index) const {
    const std::uint8_t* start = texts_ + (tape_[index] & 0x00FFFFFFFFFFFFFF);
    std::uint32_t length = 0;
    std::memcpy(&length, start, sizeof length);
    return {reinterpret_cast<const char*>(start) + sizeof length, length};
  }
  std::size_t indexBehind() const {
    switch (type()) {
      case '{':
      case '[':
        return static_cast<std::uint32_t>(tape_[index_]);
      case 'l':
      case 'u':
      case 'd':
        return index_ + 2;
      default:
        return index_ + 1;
    }
  }
  Node sibling(std::size_t index) const { return {tape_, texts_, index}; }

  const std::uint64_t* tape_;
  const std::uint8_t* texts_;
  std::size_t index_;
};

class Node::Elements {
 public:
  class Iterator {
   public:
    explicit Iterator(Node node) : node_(node) {}
    Node operator*() const { return node_; }
    Iterator& operator++() {
      node_.index_ = node_.indexBehind();
      return *this;
    }
    bool operator==(const Iterator& other) const { return node_.index_ == other.node_.index_; }

   private:
    Node node_;
  };

  Iterator begin() const { return Iterator(container_.sibling(first_)); }
  Iterator end() const { return Iterator(container_.sibling(last_)); }

 private:
  friend class Node;
  Elements(const Node& container, std::size_t first, std::size_t last)
      : container_(container), first_(first), last_(last) {}
  Node container_;
  std::size_t first_;
  std::size_t last_;
};

class Node::Members {
 public:
  struct Member {
    std::string_view key;
    Node value;
  };
  class Iterator {
   public:
    explicit Iterator(Node key) : key_(key) {}
    Member operator*() const { return {key_.text(), key_.sibling(key_.index_ + 1)}; }
    Iterator& operator++() {
      key_.index_ = key_.sibling(key_.index_ + 1).indexBehind();
      return *this;
    }
    bool operator==(const Iterator& other) const { return key_.index_ == other.key_.index_; }

   private:
    Node key_;
  };

  Iterator begin() const { return Iterator(container_.sibling(first_)); }
  Iterator end() const { return Iterator(container_.sibling(last_)); }

 private:
  friend class Node;
  Members(const Node& container, std::size_t first, std::size_t last)
      : container_(container), first_(first), last_(last) {}
  Node container_;
  std::size_t first_;
  std::size_t last_;
};

inline Node::Members Node::members() const {
  return isObject() ? Members(*this, index_ + 1, indexBehind() - 1) : Members(*this, index_, index_);
}
inline Node::Elements Node::elements() const {
  return isArray() ? Elements(*this, index_ + 1, indexBehind() - 1) : Elements(*this, index_, index_);
}

inline std::optional<Node> Node::find(std::string_view key) const {
  for (const auto& [name, value] : members()) {
    if (name == key) return value;
  }
  return std::nullopt;
}

// A parsed text. Keeps its own copy of what it needs, so the text may go.
class Document {
 public:
  static Result<Document, JsonError> parse(std::string_view text, Fragments fragments = Fragments::no);
  Document(Document&&) noexcept;
  Document& operator=(Document&&) noexcept;
  ~Document();

  Node root() const { return {tape_, texts_, 1}; }

 private:
  struct Parsed;
  explicit Document(std::unique_ptr<Parsed> parsed);

  std::unique_ptr<Parsed> parsed_;
  const std::uint64_t* tape_;
  const std::uint8_t* texts_;
};

// The same lossless casts for a free-form value.
std::optional<bool> castBoolean(const Value& value);
std::optional<std::int64_t> castInteger(const Value& value);
std::optional<double> castDouble(const Value& value);
std::optional<std::string_view> castText(const Value& value);

// Whether the text is valid UTF-8 (RFC 3629: no surrogates, no overlong forms).
bool isValidUtf8(std::string_view text);

}  // namespace sorn::support
