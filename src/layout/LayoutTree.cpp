#include "layout/LayoutTree.h"

#include "layout/Stack.h"
#include "layout/TreeBuilder.h"

namespace sorn::layout {

namespace {

// Probes for each node of the document. Usual documents take fewer than twenty.
constexpr std::size_t probesPerNode = 400;
constexpr std::size_t leastProbes = 20'000;

std::size_t nodesIn(const documents::SornView& node) {
  std::size_t count = 1;
  for (const auto& child : node.children) count += nodesIn(child);
  return count;
}

}  // namespace

LayoutTree::LayoutTree(const documents::SornView& root, documents::RootType type, TextMeasure& measure,
                       std::optional<std::string> customFontFamily)
    : budget_(std::make_unique<LayoutBudget>()) {
  const std::size_t count = nodesIn(root);
  budget_->probes = leastProbes + count * probesPerNode;
  nodes_.reserve(count);
  root_ = TreeBuilder(*this, type, measure, std::move(customFontFamily)).build(root, std::nullopt, 0);
  if (!root_)
    root_ = std::make_unique<Stack>(Stack::Options{}, std::vector<std::unique_ptr<LayoutItem>>(), *budget_);
}

bool LayoutTree::setImageSize(std::size_t slot, Size size) {
  for (const NodeBox& box : nodes_)
    if (box.pictureSlot == slot) return box.picture->setIdealSize(size);
  return false;
}

std::string pathOf(const std::vector<NodeBox>& nodes, const NodeBox& node) {
  if (!node.parent) return "content";
  return pathOf(nodes, nodes[*node.parent]) + ".children[" + std::to_string(node.child) + "]";
}

void placeCentered(LayoutItem& root, const Rect& bounds) {
  const Proposal offered{bounds.width, bounds.height};
  root.place(offered, placed(root.sizeFor(offered), bounds, Placement::center).origin());
}

}  // namespace sorn::layout
