#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "layout/LayoutItem.h"

namespace sorn::layout {

enum class Axis : std::uint8_t { horizontal, vertical };

// Children side by side or one below the other. The length along the axis is shared: the least flexible child
// is asked first, each is offered an equal share of what remains, and what it leaves goes to the later ones.
// The stack is as large as its children and does not fill what it was offered.
class Stack : public LayoutItem {
 public:
  struct Options {
    Axis axis = Axis::vertical;
    double alignment = 0;  // across the axis, from 0 (leading, top) to 1
    double spacing = 0;    // between neighbours, in points
  };

  Stack(Options options, std::vector<std::unique_ptr<LayoutItem>> children, LayoutBudget& budget);

 protected:
  Size answer(const Proposal& proposal) override;
  void placeContent(const Proposal& proposal) override;

 private:
  struct Child {
    std::unique_ptr<LayoutItem> item;
    Proposal offered;
    Size size;
  };

  double along(Size size) const { return options_.axis == Axis::horizontal ? size.width : size.height; }
  double across(Size size) const { return options_.axis == Axis::horizontal ? size.height : size.width; }
  std::optional<double> along(const Proposal& proposal) const;
  Proposal childProposal(std::optional<double> length, const Proposal& proposal) const;

  void distribute(const Proposal& proposal);
  void offerShares(double length, const Proposal& proposal);
  void orderByFlexibility(const Proposal& proposal);
  void ask(Child& child, const Proposal& offered);
  Size sizeOfChildren() const;

  Options options_;
  std::vector<Child> children_;
  std::vector<std::uint32_t> order_;  // of the last probing: the least flexible first
  LayoutBudget& budget_;
};

// Children one above the other, each offered what the stack is offered; as large as the largest on each side.
class LayerStack : public LayoutItem {
 public:
  explicit LayerStack(std::vector<std::unique_ptr<LayoutItem>> children);

 protected:
  Size answer(const Proposal& proposal) override;
  void placeContent(const Proposal& proposal) override;

 private:
  std::vector<std::unique_ptr<LayoutItem>> children_;
};

}  // namespace sorn::layout
