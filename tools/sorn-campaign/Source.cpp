#include "sorn-campaign/Source.h"

#include <algorithm>

namespace sorn::tool {

Lines::Lines(std::string_view text) : starts_{0} {
  for (std::size_t at = text.find('\n'); at != std::string_view::npos; at = text.find('\n', at + 1)) {
    starts_.push_back(at + 1);
  }
}

LineColumn Lines::at(std::size_t offset) const {
  const auto next = std::ranges::upper_bound(starts_, offset);
  const std::size_t line = static_cast<std::size_t>(next - starts_.begin());
  return {line, offset - starts_[line - 1] + 1};
}

namespace {

const SourceNode* step(const SourceNode& node, const documents::PathStep& step) {
  std::size_t position = step.position;
  if (!step.isElement) {
    // Of members with the same key the first one counts, as it does for the decoder.
    const auto found = std::ranges::find(node.keys, step.key);
    if (found == node.keys.end()) return nullptr;
    position = static_cast<std::size_t>(found - node.keys.begin());
  }
  return position < node.values.size() ? &node.values[position] : nullptr;
}

}  // namespace

std::size_t offsetOf(const SourceNode& root, std::span<const documents::PathStep> path) {
  const SourceNode* node = &root;
  for (const documents::PathStep& each : path) {
    const SourceNode* next = step(*node, each);
    if (!next) break;
    node = next;
  }
  return node->offset;
}

}  // namespace sorn::tool
