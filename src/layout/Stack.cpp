#include "layout/Stack.h"

#include <algorithm>
#include <limits>
#include <numeric>

namespace sorn::layout {

namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();

// How a child behaves along the axis: its least length, and how far it grows beyond that.
struct Flexibility {
  double least = 0;
  double range = 0;
};

bool isLessFlexible(const Flexibility& a, const Flexibility& b) {
  if (a.range == infinity && b.range == infinity) return a.least > b.least;
  return a.range < b.range;
}

// Infinity less infinity leaves infinity.
double remainder(double length, double taken) { return length == infinity ? infinity : length - taken; }

}  // namespace

Stack::Stack(Options options, std::vector<std::unique_ptr<LayoutItem>> children, LayoutBudget& budget)
    : options_(options), order_(children.size()), budget_(budget) {
  children_.reserve(children.size());
  for (auto& item : children) {
    item->setParent(this);
    children_.push_back({std::move(item), {}, {}});
  }
  std::iota(order_.begin(), order_.end(), 0U);
}

std::optional<double> Stack::along(const Proposal& proposal) const {
  return options_.axis == Axis::horizontal ? proposal.width : proposal.height;
}

Proposal Stack::childProposal(std::optional<double> length, const Proposal& proposal) const {
  return options_.axis == Axis::horizontal ? Proposal{length, proposal.height}
                                           : Proposal{proposal.width, length};
}

void Stack::ask(Child& child, const Proposal& offered) {
  child.offered = offered;
  child.size = child.item->sizeFor(offered);
}

void Stack::orderByFlexibility(const Proposal& proposal) {
  if (children_.size() < 2 || budget_.probes < children_.size()) return;
  budget_.probes -= children_.size();
  std::vector<Flexibility> flexibilities;
  flexibilities.reserve(children_.size());
  for (const Child& child : children_) {
    const double least = along(child.item->sizeFor(childProposal(0, proposal)));
    const double most = along(child.item->sizeFor(childProposal(infinity, proposal)));
    flexibilities.push_back({least, most - least});
  }
  std::iota(order_.begin(), order_.end(), 0U);
  std::ranges::stable_sort(
      order_, [&](auto a, auto b) { return isLessFlexible(flexibilities[a], flexibilities[b]); });
}

void Stack::offerShares(double length, const Proposal& proposal) {
  orderByFlexibility(proposal);
  double remaining = remainder(length, options_.spacing * static_cast<double>(children_.size() - 1));
  std::size_t waiting = children_.size();
  for (const std::uint32_t index : order_) {
    Child& child = children_[index];
    ask(child, childProposal(std::max(remaining / static_cast<double>(waiting), 0.0), proposal));
    remaining = remainder(remaining, along(child.size));
    --waiting;
  }
}

void Stack::distribute(const Proposal& proposal) {
  if (children_.empty()) return;
  if (const auto length = along(proposal)) return offerShares(*length, proposal);
  for (Child& child : children_) ask(child, childProposal(std::nullopt, proposal));
}

Size Stack::sizeOfChildren() const {
  if (children_.empty()) return {};
  double length = options_.spacing * static_cast<double>(children_.size() - 1);
  double breadth = 0;
  for (const Child& child : children_) {
    length += along(child.size);
    breadth = std::max(breadth, across(child.size));
  }
  return options_.axis == Axis::horizontal ? Size{length, breadth} : Size{breadth, length};
}

Size Stack::answer(const Proposal& proposal) {
  distribute(proposal);
  return sizeOfChildren();
}

// Across the axis, children that were measured at their ideal length are offered the stack's own in the end,
// so that flexible ones stretch to their largest sibling.
void Stack::placeContent(const Proposal& proposal) {
  Proposal final = proposal;
  auto& breadth = options_.axis == Axis::horizontal ? final.height : final.width;
  if (!breadth) breadth = across(frame().size());
  distribute(final);
  const double largest = across(sizeOfChildren());
  Point at = frame().origin();
  for (Child& child : children_) {
    const double aside = (largest - across(child.size)) * options_.alignment;
    const Point origin =
        options_.axis == Axis::horizontal ? Point{at.x, at.y + aside} : Point{at.x + aside, at.y};
    child.item->place(child.offered, origin);
    (options_.axis == Axis::horizontal ? at.x : at.y) += along(child.size) + options_.spacing;
  }
}

LayerStack::LayerStack(std::vector<std::unique_ptr<LayoutItem>> children) : children_(std::move(children)) {
  for (auto& child : children_) child->setParent(this);
}

Size LayerStack::answer(const Proposal& proposal) {
  Size largest;
  for (auto& child : children_) {
    const Size size = child->sizeFor(proposal);
    largest = {std::max(largest.width, size.width), std::max(largest.height, size.height)};
  }
  return largest;
}

void LayerStack::placeContent(const Proposal& /*proposal*/) {
  const Proposal own{frame().width, frame().height};
  for (auto& child : children_)
    child->place(own, placed(child->sizeFor(own), frame(), Placement::center).origin());
}

}  // namespace sorn::layout
