#pragma once

#include <cstddef>
#include <memory>
#include <utility>
#include <vector>

#include "layout/Geometry.h"

namespace sorn::layout {

// One box of a layout: a leaf, a stack, or a modifier around another box. A parent proposes a size, the child
// answers with the size it takes and cannot be overruled, and the parent then gives it its place, with a
// final proposal that may differ from those used for measuring. Nothing clips: a child may be larger than its
// parent.
//
// An answer depends on the proposal alone, so each box remembers its answers; without that the cost would
// double with every level of nesting. Lengths of documents are clamped (`boundedLength`) before they come
// here, so that sums stay finite.
class LayoutItem {
 public:
  virtual ~LayoutItem() = default;
  LayoutItem() = default;
  LayoutItem(const LayoutItem&) = delete;
  LayoutItem& operator=(const LayoutItem&) = delete;

  Size sizeFor(const Proposal& proposal);

  // Settles the box at a place, with the size that it answers to the proposal, and then what is inside.
  void place(const Proposal& proposal, Point origin);
  const Rect& frame() const { return frame_; }

  // Forgets the answers of this box and of all around it, when a leaf has got another ideal size.
  void forgetAnswers();
  void setParent(LayoutItem* parent) { parent_ = parent; }

 protected:
  virtual Size answer(const Proposal& proposal) = 0;
  virtual void placeContent(const Proposal& /*proposal*/) {}

 private:
  std::vector<std::pair<Proposal, Size>> answers_;
  Rect frame_;
  LayoutItem* parent_ = nullptr;
};

// A box around one other.
class Modifier : public LayoutItem {
 public:
  explicit Modifier(std::unique_ptr<LayoutItem> content) : content_(std::move(content)) {
    content_->setParent(this);
  }

 protected:
  LayoutItem& content() { return *content_; }

 private:
  std::unique_ptr<LayoutItem> content_;
};

// How much work one tree may cost. Stacks find out how flexible their children are by asking each for its
// least and its most; nested in one another without bounds of their own, that can multiply with the depth
// although answers are remembered. When the budget is spent, stacks keep the order of children that they
// know.
struct LayoutBudget {
  std::size_t probes = 0;
};

}  // namespace sorn::layout
