#pragma once

#include <memory>
#include <optional>

#include "layout/LayoutItem.h"
#include "layout/Text.h"

namespace sorn::layout {

// A filled shape: takes what it is offered, and 10 points where nothing is.
class ShapeLeaf : public LayoutItem {
 protected:
  Size answer(const Proposal& proposal) override;
};

// A picture: takes what it is offered, and its own size in points where nothing is; none until it has come.
class ImageLeaf : public LayoutItem {
 public:
  // Whether the layout depends on the size (some answer used it, and the new one differs), so that it has to
  // be placed again.
  bool setIdealSize(Size size);

 protected:
  Size answer(const Proposal& proposal) override;

 private:
  Size ideal_;
  bool usedIdeal_ = false;
};

class TextLeaf : public LayoutItem {
 public:
  explicit TextLeaf(std::shared_ptr<PreparedText> text) : text_(std::move(text)) {}

  const std::shared_ptr<PreparedText>& text() const { return text_; }
  const Proposal& offered() const { return offered_; }

 protected:
  Size answer(const Proposal& proposal) override { return text_->sizeFor(proposal); }
  void placeContent(const Proposal& proposal) override { offered_ = proposal; }

 private:
  std::shared_ptr<PreparedText> text_;
  Proposal offered_;
};

}  // namespace sorn::layout
