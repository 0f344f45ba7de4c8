#pragma once

#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "documents/SornView.h"
#include "layout/LayoutTree.h"
#include "sorn-campaign/FixedMetric.h"

// Documents in a few words, and where their nodes come to lie. A character is 10 wide, a line 20 high.
namespace sorn::layout::testing {

using documents::Alignment;
using documents::SornView;
using documents::SornViewType;

inline SornView view(SornViewType type, std::vector<SornView> children = {}) {
  SornView node;
  node.viewType = type;
  node.children = std::move(children);
  return node;
}

inline SornView row(std::vector<SornView> children) { return view(SornViewType::row, std::move(children)); }
inline SornView column(std::vector<SornView> children) {
  return view(SornViewType::column, std::move(children));
}

inline SornView text(std::string words) {
  SornView node = view(SornViewType::text);
  node.textData.emplace().text = std::move(words);
  return node;
}

inline SornView image() {
  SornView node = view(SornViewType::image);
  node.imageData.emplace().url = "http://127.0.0.1/picture.png";
  return node;
}

inline SornView spacer() {
  SornView node = column({});
  node.isSpacer = true;
  return node;
}

inline SornView button(std::vector<SornView> label = {}) {
  return view(SornViewType::button, std::move(label));
}

inline SornView sized(SornView node, double width, double height) {
  node.width = width;
  node.height = height;
  return node;
}

inline SornView fixed(double width, double height) { return sized(column({}), width, height); }

inline SornView bounded(SornView node, double maxWidth) {
  node.maxWidth = maxWidth;
  return node;
}

inline SornView aligned(SornView node, Alignment alignment) {
  node.alignment = alignment;
  return node;
}

inline SornView padded(SornView node, std::vector<double> padding) {
  node.padding = std::move(padding);
  return node;
}

inline SornView colored(SornView node, std::string color) {
  node.background = documents::Background{documents::BackgroundType::color, std::move(color), {}, {}};
  return node;
}

// A document laid out: the frames of its nodes, in its order.
class Laid {
 public:
  Laid(SornView root, const Proposal& offered, Size picture = {}) : root_(std::move(root)) {
    for (std::size_t slot = 0; slot < tree_.images().size(); ++slot) tree_.setImageSize(slot, picture);
    item_->place(offered, {});
  }

  Size size() const { return item_->frame().size(); }
  Rect frame(std::size_t node) const { return tree_.nodes()[node].box->frame(); }
  LayoutTree& tree() { return tree_; }
  LayoutItem& item() { return *item_; }

  // "WIDTHxHEIGHT" of the whole, and "x y width height" of each node but the root.
  std::string dump() const {
    std::ostringstream out;
    out << size().width << 'x' << size().height;
    for (const NodeBox& node : tree_.nodes()) {
      if (!node.parent) continue;
      const Rect& frame = node.box->frame();
      out << (&node == &tree_.nodes()[1] ? ": " : ", ") << frame.x << ' ' << frame.y << ' ' << frame.width
          << ' ' << frame.height;
    }
    return out.str();
  }

 private:
  SornView root_;
  tool::FixedMetric metric_{10, 20};
  LayoutTree tree_{root_, root_.rootType.value_or(documents::RootType::dialog), metric_};
  std::unique_ptr<LayoutItem> item_ = tree_.takeRoot();
};

inline std::string laid(SornView root, const Proposal& offered, Size picture = {}) {
  return Laid(std::move(root), offered, picture).dump();
}

}  // namespace sorn::layout::testing
