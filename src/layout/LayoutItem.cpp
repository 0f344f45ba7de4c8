#include "layout/LayoutItem.h"

#include <ranges>

namespace sorn::layout {

namespace {

// Answers kept of one box. Usual documents ask for three to six; past this the oldest give way.
constexpr std::size_t longestMemory = 64;
constexpr std::size_t usualMemory = 4;

}  // namespace

Size LayoutItem::sizeFor(const Proposal& proposal) {
  for (const auto& [asked, size] : answers_ | std::views::reverse)
    if (asked == proposal) return size;
  const Size size = answer(proposal);
  if (answers_.empty()) answers_.reserve(usualMemory);
  if (answers_.size() == longestMemory)
    answers_.erase(answers_.begin(), answers_.begin() + longestMemory / 2);
  answers_.emplace_back(proposal, size);
  return size;
}

void LayoutItem::place(const Proposal& proposal, Point origin) {
  const Size size = sizeFor(proposal);
  frame_ = {origin.x, origin.y, size.width, size.height};
  placeContent(proposal);
}

void LayoutItem::forgetAnswers() {
  for (LayoutItem* item = this; item != nullptr; item = item->parent_) item->answers_.clear();
}

}  // namespace sorn::layout
