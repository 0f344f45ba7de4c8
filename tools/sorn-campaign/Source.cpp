#include "sorn-campaign/Source.h"

#include <algorithm>

namespace sorn::campaign {

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
  if (step.isElement) {
    return step.position < node.elements.size() ? &node.elements[step.position] : nullptr;
  }
  // Of members with the same key the first one counts, as it does for the decoder.
  const auto found = std::ranges::find(node.members, step.key,
                                       [](const auto& member) -> const std::string& { return member.first; });
  return found == node.members.end() ? nullptr : &found->second;
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

}  // namespace sorn::campaign
