#include "layout/TreeBuilder.h"

#include "layout/NodeFrames.h"
#include "layout/Stack.h"
#include "support/Url.h"

namespace sorn::layout {

using documents::SornView;
using documents::SornViewType;

namespace {

// Between several views in the label of a button, in points.
constexpr double labelSpacing = 8;

bool scrolls(const SornView& node, std::optional<documents::RootType> type) {
  return node.isSafe.value_or(false) && type == documents::RootType::fullscreen;
}

}  // namespace

std::size_t TreeBuilder::addSlot(const documents::ImageData& data) {
  auto url = support::Url::parse(data.url);
  tree_.images_.push_back({url ? std::optional(url->text()) : std::nullopt});
  return tree_.images_.size() - 1;
}

TreeBuilder::Item TreeBuilder::build(const SornView& node, std::optional<std::size_t> parent,
                                     std::size_t child) {
  const bool isEmpty =
      node.viewType == SornViewType::image && !node.imageData && !node.isSpacer.value_or(false);
  if (isEmpty) return nullptr;
  const std::size_t index = tree_.nodes_.size();
  tree_.nodes_.emplace_back();
  tree_.nodes_[index].node = &node;
  tree_.nodes_[index].parent = parent;
  tree_.nodes_[index].child = child;
  if (node.background && node.background->backgroundType == documents::BackgroundType::image &&
      node.background->imageData)
    tree_.nodes_[index].backgroundSlot = addSlot(*node.background->imageData);

  Item item = framed(contentOf(node, index), node);
  NodeBox& box = tree_.nodes_[index];
  box.end = tree_.nodes_.size();
  box.box = item.get();
  if (const auto insets = paddingOf(node)) item = std::make_unique<Padding>(std::move(item), *insets);
  if (scrolls(node, parent ? node.rootType : type_)) {
    box.scrolled = item.get();
    item = std::make_unique<VerticalScroll>(std::move(item));
    box.viewport = item.get();
  }
  return item;
}

TreeBuilder::Item TreeBuilder::contentOf(const SornView& node, std::size_t index) {
  switch (node.viewType) {
    case SornViewType::row:
    case SornViewType::column:
      return stackOf(node, index);
    case SornViewType::button:
      return buttonOf(node, index);
    case SornViewType::text:
      return textOf(node, index);
    case SornViewType::image:
      return pictureOf(node, index);
  }
  return nullptr;
}

std::vector<TreeBuilder::Item> TreeBuilder::childrenOf(const SornView& node, std::size_t index) {
  std::vector<Item> items;
  items.reserve(node.children.size());
  for (std::size_t i = 0; i < node.children.size(); ++i)
    if (Item item = build(node.children[i], index, i)) items.push_back(std::move(item));
  return items;
}

TreeBuilder::Item TreeBuilder::stackOf(const SornView& node, std::size_t index) {
  const bool isRow = node.viewType == SornViewType::row;
  const Stack::Options options{isRow ? Axis::horizontal : Axis::vertical, childAlignment(node), 0};
  Item stack = std::make_unique<Stack>(options, childrenOf(node, index), *tree_.budget_);
  if (isRow) stack = std::make_unique<IdealHeight>(std::move(stack));
  return stack;
}

// A label of one view is that view, of several a centred row; without any, the title lies centred on a clear
// shape, which takes all that it is offered.
TreeBuilder::Item TreeBuilder::buttonOf(const SornView& node, std::size_t index) {
  if (node.children.empty())
    return std::make_unique<Overlay>(std::make_unique<ShapeLeaf>(), textOf(node, index), Placement::center);
  std::vector<Item> items = childrenOf(node, index);
  if (items.size() == 1) return std::move(items.front());
  return std::make_unique<Stack>(Stack::Options{Axis::horizontal, 0.5, labelSpacing}, std::move(items),
                                 *tree_.budget_);
}

std::unique_ptr<TextLeaf> TreeBuilder::textOf(const SornView& node, std::size_t index) {
  TextRun run;
  if (node.textData) run = {node.textData->text, styleOf(*node.textData, customFontFamily_)};
  auto leaf = std::make_unique<TextLeaf>(measure_.prepare(std::move(run)));
  tree_.nodes_[index].text = leaf.get();
  return leaf;
}

TreeBuilder::Item TreeBuilder::pictureOf(const SornView& node, std::size_t index) {
  // A spacer without a picture is only room.
  if (!node.imageData) return std::make_unique<Stack>(Stack::Options{}, std::vector<Item>(), *tree_.budget_);
  auto leaf = std::make_unique<ImageLeaf>();
  tree_.nodes_[index].picture = leaf.get();
  tree_.nodes_[index].pictureSlot = addSlot(*node.imageData);
  return leaf;
}

}  // namespace sorn::layout
