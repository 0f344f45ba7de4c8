#pragma once

#include <memory>

#include "layout/LayoutItem.h"

namespace sorn::layout {

// Offers its content the largest box of a ratio (width over height) that the proposal allows. It is as large
// as the content answers, so that only what grows takes the box. Asked for the ideal on both sides, so is the
// content, and the ratio plays no part.
class AspectRatioBox : public Modifier {
 public:
  AspectRatioBox(std::unique_ptr<LayoutItem> content, double ratio);

 protected:
  Size answer(const Proposal& proposal) override;
  void placeContent(const Proposal& proposal) override;

 private:
  Proposal inner(const Proposal& proposal) const;

  double ratio_;
};

// Content at its ideal height, whatever height is offered.
class IdealHeight : public Modifier {
 public:
  using Modifier::Modifier;

 protected:
  Size answer(const Proposal& proposal) override;
  void placeContent(const Proposal& proposal) override;
};

// Empty room around the content.
class Padding : public Modifier {
 public:
  Padding(std::unique_ptr<LayoutItem> content, Insets insets);

 protected:
  Size answer(const Proposal& proposal) override;
  void placeContent(const Proposal& proposal) override;

 private:
  Proposal inner(const Proposal& proposal) const;

  Insets insets_;
};

// Content at its ideal height in a viewport that is as wide as the content and as high as the offer; the
// content begins at the top.
class VerticalScroll : public Modifier {
 public:
  using Modifier::Modifier;

 protected:
  Size answer(const Proposal& proposal) override;
  void placeContent(const Proposal& proposal) override;
};

// A box laid over the content, which alone decides the size. The overlay is offered the content's size, lies
// at the placement and is then moved by the offset.
class Overlay : public Modifier {
 public:
  Overlay(std::unique_ptr<LayoutItem> content, std::unique_ptr<LayoutItem> overlay, Placement placement,
          Point offset = {});

 protected:
  Size answer(const Proposal& proposal) override;
  void placeContent(const Proposal& proposal) override;

 private:
  std::unique_ptr<LayoutItem> overlay_;
  Placement placement_;
  Point offset_;
};

}  // namespace sorn::layout
