#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "documents/SornView.h"
#include "layout/DisplayList.h"
#include "layout/Leaves.h"
#include "layout/Modifiers.h"
#include "layout/Text.h"

namespace sorn::layout {

// One node of the document and the boxes that stand for it. Boxes belong to the tree's root.
struct NodeBox {
  const documents::SornView* node = nullptr;
  std::optional<std::size_t> parent;  // index of the node's parent in `LayoutTree::nodes`
  std::size_t child = 0;              // its index among the children of the document's parent
  std::size_t end = 0;                // index behind its last descendant

  LayoutItem* box = nullptr;       // what the background fills, inside the padding
  ImageLeaf* picture = nullptr;    // an image
  TextLeaf* text = nullptr;        // a text, or the title of a button without children
  LayoutItem* viewport = nullptr;  // of a node that scrolls
  LayoutItem* scrolled = nullptr;  // what moves in it: the node with its padding
  std::optional<std::size_t> pictureSlot;
  std::optional<std::size_t> backgroundSlot;
};

// The content of a campaign, ready to be laid out: the boxes that each node's keys ask for, and the pictures
// it shows. The document outlives the tree. An image node without image data leaves no box at all, unless it
// is a spacer; children of texts, images and nodes that have none by their kind are not looked at.
//
// A "padding" of fewer than four numbers is a fault that ends the process.
class LayoutTree {
 public:
  // `type`: that of the campaign's header, whatever the root says of itself.
  // `customFontFamily`: the family that the host chose for all texts; absent: the system's.
  LayoutTree(const documents::SornView& root, documents::RootType type, TextMeasure& measure,
             std::optional<std::string> customFontFamily = std::nullopt);

  // The box around everything, for a frame to be put around it; to be taken once. Never null: a root that
  // shows nothing is an empty box.
  std::unique_ptr<LayoutItem> takeRoot() { return std::move(root_); }

  // In the document's order, parents before children.
  const std::vector<NodeBox>& nodes() const { return nodes_; }
  const std::vector<ImageSlot>& images() const { return images_; }

  // A picture has come. Whether the layout has to be placed again; texts and boxes that do not lie around the
  // picture keep their answers.
  bool setImageSize(std::size_t slot, Size size);

 private:
  friend class TreeBuilder;

  std::unique_ptr<LayoutItem> root_;
  std::vector<NodeBox> nodes_;
  std::vector<ImageSlot> images_;
  std::unique_ptr<LayoutBudget> budget_;
};

// Where the document has the node: "content.children[0]", or "content" for the root.
std::string pathOf(const std::vector<NodeBox>& nodes, const NodeBox& node);

// Lays the content out alone: offers it the size and centres its answer there.
void placeCentered(LayoutItem& root, const Rect& bounds);

}  // namespace sorn::layout
