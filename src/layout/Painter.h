#pragma once

#include <cstddef>
#include <optional>

#include "documents/SornView.h"
#include "layout/DisplayList.h"
#include "layout/LayoutTree.h"

namespace sorn::layout {

// The surface that a campaign fills, and the part of it that nothing of the device covers.
struct SafeArea {
  Rect container;
  Rect safe;
};

// Decides what a tree that has been placed looks like: appends drawing commands and tap targets to a list.
// Each node draws its background, what is in it, and its border; the corners cut off background and content.
class Painter {
 public:
  Painter(DisplayList& list, const LayoutTree& tree, const SafeArea& area)
      : list_(list), tree_(tree), area_(area) {}

  void paint();

  // The background of a node, drawn behind another rectangle. Where that touches the edge of the safe area,
  // it goes on to the edge of the container.
  void paintBackground(const NodeBox& node, const Rect& rect);

 private:
  void paintNode(std::size_t index);
  void paintChildren(std::size_t index);
  void paintContent(std::size_t index);
  void paintBorder(const NodeBox& node);
  void paintGradient(const documents::GradientData& gradient, const Rect& rect);
  void beginScroll(const NodeBox& node);
  void endScroll();
  Rect beyondSafeArea(const Rect& rect) const;

  DisplayList& list_;
  const LayoutTree& tree_;
  SafeArea area_;
  std::optional<std::size_t> scrollArea_;  // the innermost one that is being painted
};

}  // namespace sorn::layout
