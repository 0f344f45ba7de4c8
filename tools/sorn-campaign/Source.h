#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "documents/DecodingFailure.h"

// Where the values of a JSON text stand in it. The library's reader keeps no positions, so what it says about
// a file is placed by this second pass.
namespace sorn::tool {

// Of a byte: both are counted from 1, the column in bytes.
struct LineColumn {
  std::size_t line = 1;
  std::size_t column = 1;

  bool operator==(const LineColumn&) const = default;
};

// Turns offsets into lines and columns.
class Lines {
 public:
  explicit Lines(std::string_view text);
  LineColumn at(std::size_t offset) const;

 private:
  std::vector<std::size_t> starts_;
};

// A value with its first byte and what it contains: the elements of a list, or the members of an object, each
// with its key at the same position.
struct SourceNode {
  std::size_t offset = 0;
  std::vector<SourceNode> values;
  std::vector<std::string> keys;
};

struct SyntaxFault {
  std::size_t offset = 0;
  std::string cause;
};

// Reads the text as strictly as the library's reader does: UTF-8 with or without a byte order mark, at most
// 512 containers within each other, and one comma to spare before a closing bracket. Absent with the first
// fault told.
std::optional<SourceNode> readSource(std::string_view text, SyntaxFault& fault);

// The first byte of the value at the end of the path; where the path leaves the document, that of the last
// value on it, so for a missing key the brace of its object.
std::size_t offsetOf(const SourceNode& root, std::span<const documents::PathStep> path);

}  // namespace sorn::tool
