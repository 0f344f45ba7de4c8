#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "support/Result.h"
#include "support/json/Json.h"

namespace sorn::documents {

// One step from a value down into it: to the member of an object, or to the element of a list.
struct PathStep {
  std::string key;
  std::size_t position = 0;
  bool isElement = false;

  static PathStep member(std::string_view key) { return {std::string(key), 0, false}; }
  static PathStep element(std::size_t position) { return {{}, position, true}; }
  bool operator==(const PathStep&) const = default;
};

// "[3].content.children[0]"; "$" for no steps. A key that is no plain name stands as ["quoted text"].
std::string pathText(std::span<const PathStep> path);

// Where and why the decoding of a document failed, such as "[3].content.width: expected a number, found a
// text". A decoder fills it in on its way out, from the innermost value to the document. Each operation
// returns false, so that a decoder can return its result.
class DecodingFailure {
 public:
  // Whether a decoder stops at the first fault, or goes on to collect them all. What it has decoded then is
  // of use only for its faultless parts.
  enum class Extent : std::uint8_t { firstFault, allFaults };

  struct Fault {
    std::vector<PathStep> path;  // from the document down; for a missing key up to the key
    std::string cause;
  };

  explicit DecodingFailure(Extent extent = Extent::firstFault) : extent_(extent) {}

  bool missing(std::string_view key);
  bool mismatch(const support::Node& node, std::string_view expected);
  // The text is none of those that an enumeration has.
  bool unknown(std::string_view found, std::span<const std::string_view> known);
  bool other(std::string cause);
  // The text is no JSON at all.
  bool syntax(std::string cause);
  // True for a successful read.
  bool check(support::ReadStatus status, const support::Node& node, std::string_view expected);

  // The faults from this one on lie inside this member, or this element of a list.
  bool inMember(std::string_view key, std::size_t from = 0);
  bool inElement(std::size_t position, std::size_t from = 0);

  bool goesOn() const { return extent_ == Extent::allFaults; }
  std::size_t count() const { return faults_.size(); }
  std::vector<Fault> faults() const;

  // Of the first fault. The path is "$" for the document itself.
  std::string path() const;
  std::string cause() const { return faults_.empty() ? std::string() : faults_.front().cause; }
  std::string description() const { return path() + ": " + cause(); }

 private:
  bool enter(const PathStep& step, std::size_t from);

  Extent extent_;
  std::vector<Fault> faults_;  // paths from the innermost step outwards
};

template <class Document>
using Decoded = support::Result<Document, DecodingFailure>;

}  // namespace sorn::documents
