#include "layout/Leaves.h"

namespace sorn::layout {

namespace {

constexpr double idealShapeLength = 10;  // points

}  // namespace

Size ShapeLeaf::answer(const Proposal& proposal) {
  return {proposal.width.value_or(idealShapeLength), proposal.height.value_or(idealShapeLength)};
}

Size ImageLeaf::answer(const Proposal& proposal) {
  if (!proposal.width || !proposal.height) usedIdeal_ = true;
  return {proposal.width.value_or(ideal_.width), proposal.height.value_or(ideal_.height)};
}

bool ImageLeaf::setIdealSize(Size size) {
  if (size == ideal_) return false;
  ideal_ = size;
  if (!usedIdeal_) return false;
  forgetAnswers();
  return true;
}

}  // namespace sorn::layout
