#include "documents/DecodingFailure.h"

#include <algorithm>
#include <utility>

#include "support/json/JsonWriter.h"

namespace sorn::documents {

namespace {

// Bytes of a faulty text that its cause quotes.
constexpr std::size_t quotedLimit = 64;

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

// Anything else could be taken for a path of its own, or break the line that it stands in.
bool isPlainName(std::string_view key) {
  return !key.empty() && std::ranges::all_of(key, [](char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' || c == '-';
  });
}

}  // namespace

std::string pathText(std::span<const PathStep> path) {
  std::string text;
  for (const PathStep& step : path) {
    if (step.isElement) {
      text += "[" + std::to_string(step.position) + "]";
    } else if (isPlainName(step.key)) {
      if (!text.empty()) text += '.';
      text += step.key;
    } else {
      text += '[';
      support::appendText(text, step.key);
      text += ']';
    }
  }
  return text.empty() ? "$" : text;
}

bool DecodingFailure::missing(std::string_view key) {
  const std::size_t from = goesOn() ? count() : 0;
  other("required key is missing");
  return inMember(key, from);
}

bool DecodingFailure::mismatch(const support::Node& node, std::string_view expected) {
  return other("expected " + std::string(expected) + ", found " + std::string(nameOf(node.kind())));
}

bool DecodingFailure::unknown(std::string_view found, std::span<const std::string_view> known) {
  std::string cause = "expected one of";
  for (const std::string_view text : known) cause += " \"" + std::string(text) + "\",";
  cause += " found ";
  if (found.size() > quotedLimit) return other(cause + "a longer text");
  support::appendText(cause, found);
  return other(std::move(cause));
}

bool DecodingFailure::other(std::string cause) {
  if (!goesOn()) faults_.clear();
  faults_.push_back({{}, std::move(cause)});
  return false;
}

bool DecodingFailure::syntax(std::string cause) { return other(std::move(cause)); }

bool DecodingFailure::check(support::ReadStatus status, const support::Node& node,
                            std::string_view expected) {
  switch (status) {
    case support::ReadStatus::ok:
      return true;
    case support::ReadStatus::corrupt:
      return other(expected == "a number" ? "the number is out of range"
                                          : "the number is out of range or not " + std::string(expected));
    default:
      return mismatch(node, expected);
  }
}

bool DecodingFailure::inMember(std::string_view key, std::size_t from) {
  return enter(PathStep::member(key), from);
}

bool DecodingFailure::inElement(std::size_t position, std::size_t from) {
  return enter(PathStep::element(position), from);
}

bool DecodingFailure::enter(const PathStep& step, std::size_t from) {
  for (std::size_t i = from; i < faults_.size(); ++i) faults_[i].path.push_back(step);
  return false;
}

std::vector<DecodingFailure::Fault> DecodingFailure::faults() const {
  std::vector<Fault> faults = faults_;
  for (Fault& fault : faults) std::ranges::reverse(fault.path);
  return faults;
}

std::string DecodingFailure::path() const {
  if (faults_.empty()) return "$";
  std::vector<PathStep> path = faults_.front().path;
  std::ranges::reverse(path);
  return pathText(path);
}

}  // namespace sorn::documents
