#pragma once

#include <memory>
#include <optional>

#include "layout/LayoutItem.h"

namespace sorn::layout {

// A frame of a set width, height or both; what is not set is as long as the content. The content keeps its
// own size and lies in the frame at the placement, or spills over it.
class FixedFrame : public Modifier {
 public:
  FixedFrame(std::unique_ptr<LayoutItem> content, std::optional<double> width, std::optional<double> height,
             Placement placement);

 protected:
  Size answer(const Proposal& proposal) override;
  void placeContent(const Proposal& proposal) override;

 private:
  Proposal inner(const Proposal& proposal) const;

  std::optional<double> width_;
  std::optional<double> height_;
  Placement placement_;
};

// A frame with a greatest width, height or both, which may be infinite. It fills what it is offered up to
// that bound; asked for its ideal it is as long as the content.
class FlexibleFrame : public Modifier {
 public:
  FlexibleFrame(std::unique_ptr<LayoutItem> content, std::optional<double> maxWidth,
                std::optional<double> maxHeight, Placement placement);

 protected:
  Size answer(const Proposal& proposal) override;
  void placeContent(const Proposal& proposal) override;

 private:
  Proposal inner(const Proposal& proposal) const;

  std::optional<double> maxWidth_;
  std::optional<double> maxHeight_;
  Placement placement_;
};

}  // namespace sorn::layout
