#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "support/Json.h"

namespace sorn::documents {

// Where and why the decoding of a document failed, such as "[3].content.width: expected a number, found a
// text". A decoder fills it in on its way out, from the innermost value to the document. Each operation
// returns false, so that a decoder can return its result.
class DecodingFailure {
 public:
  bool missing(std::string_view key);
  bool mismatch(const support::Node& node, std::string_view expected);
  bool other(std::string cause);
  // The text is no JSON at all.
  bool syntax(std::string cause);
  // True for a successful read.
  bool check(support::ReadStatus status, const support::Node& node, std::string_view expected);

  // The failure lies inside this member, or this element of a list.
  bool inMember(std::string_view key);
  bool inElement(std::size_t position);

  // "$" for the document itself.
  std::string path() const { return path_.empty() ? "$" : path_; }
  const std::string& cause() const { return cause_; }
  std::string description() const { return path() + ": " + cause_; }

 private:
  std::string path_;
  std::string cause_;
};

}  // namespace sorn::documents
