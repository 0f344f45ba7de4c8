#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "layout/LayoutTree.h"

namespace sorn::layout {

// Turns the nodes of a document into boxes, each wrapped from the inside out: content, ratio, flexible frame,
// fixed frame, padding, scrolling. A modifier that would change nothing is left out.
class TreeBuilder {
 public:
  TreeBuilder(LayoutTree& tree, documents::RootType type, TextMeasure& measure,
              std::optional<std::string> customFontFamily)
      : tree_(tree), type_(type), measure_(measure), customFontFamily_(std::move(customFontFamily)) {}

  // Null for a node that takes no place.
  std::unique_ptr<LayoutItem> build(const documents::SornView& node, std::optional<std::size_t> parent,
                                    std::size_t child);

 private:
  using Item = std::unique_ptr<LayoutItem>;

  Item contentOf(const documents::SornView& node, std::size_t index);
  Item stackOf(const documents::SornView& node, std::size_t index);
  Item buttonOf(const documents::SornView& node, std::size_t index);
  Item pictureOf(const documents::SornView& node, std::size_t index);
  std::unique_ptr<TextLeaf> textOf(const documents::SornView& node, std::size_t index);
  std::vector<Item> childrenOf(const documents::SornView& node, std::size_t index);
  std::size_t addSlot(const documents::ImageData& data);

  LayoutTree& tree_;
  documents::RootType type_;
  TextMeasure& measure_;
  std::optional<std::string> customFontFamily_;
};

}  // namespace sorn::layout
