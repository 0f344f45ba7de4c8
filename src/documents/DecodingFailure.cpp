#include "documents/DecodingFailure.h"

#include <utility>

namespace sorn::documents {

namespace {

std::string_view nameOf(support::Kind kind) {
  switch (kind) {
    case support::Kind::null:
      return "null";
    case support::Kind::boolean:
      return "a boolean";
    case support::Kind::integer:
    case support::Kind::number:
    case support::Kind::decimal:
      return "a number";
    case support::Kind::text:
      return "a text";
    case support::Kind::array:
      return "a list";
    case support::Kind::object:
      return "an object";
  }
  return "";
}

}  // namespace

bool DecodingFailure::missing(std::string_view key) {
  path_ = key;
  cause_ = "required key is missing";
  return false;
}

bool DecodingFailure::mismatch(const support::Node& node, std::string_view expected) {
  return other("expected " + std::string(expected) + ", found " + std::string(nameOf(node.kind())));
}

bool DecodingFailure::other(std::string cause) {
  path_.clear();
  cause_ = std::move(cause);
  return false;
}

bool DecodingFailure::syntax(std::string cause) { return other(std::move(cause)); }

bool DecodingFailure::check(support::ReadStatus status, const support::Node& node,
                            std::string_view expected) {
  switch (status) {
    case support::ReadStatus::ok:
      return true;
    case support::ReadStatus::corrupt:
      return other("the number is no value of " + std::string(expected));
    default:
      return mismatch(node, expected);
  }
}

bool DecodingFailure::inMember(std::string_view key) {
  const bool isLast = path_.empty();
  std::string path(key);
  // A list element's position follows its list without a point.
  if (!isLast && path_.front() != '[') path += '.';
  path_ = path + path_;
  return false;
}

bool DecodingFailure::inElement(std::size_t position) {
  std::string path = "[" + std::to_string(position) + "]";
  if (!path_.empty() && path_.front() != '[') path += '.';
  path_ = path + path_;
  return false;
}

}  // namespace sorn::documents
