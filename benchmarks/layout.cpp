// The layout engine alone: how its cost grows with the document, and with the depth of its nesting.

#include <memory>
#include <string>

#include <malloc.h>

#include "Figures.h"
#include "draw/PangoTextMeasure.h"
#include "layout/LayoutTree.h"

namespace sorn::bench {
namespace {

using documents::SornView;
using documents::SornViewType;

SornView view(SornViewType type, std::vector<SornView> children = {}) {
  SornView node;
  node.viewType = type;
  node.children = std::move(children);
  return node;
}

SornView text(int number) {
  SornView node = view(SornViewType::text);
  node.textData.emplace().text = "Line " + std::to_string(number) + " of a text that has to wrap somewhere";
  return node;
}

// Four nodes: a row of two texts and a spacer.
SornView row(int number) {
  SornView spacer = view(SornViewType::column);
  spacer.isSpacer = true;
  return view(SornViewType::row, {text(2 * number), std::move(spacer), text(2 * number + 1)});
}

SornView wide(int rows) {
  SornView root = view(SornViewType::column);
  for (int i = 0; i < rows; ++i) root.children.push_back(row(i));
  return root;
}

// Rows and columns in turn, one in the other, each with `rows` rows beside the next one.
SornView deep(int depth, int rows) {
  SornView node = text(0);
  for (int level = 0; level < depth; ++level) {
    SornView outer = view(level % 2 == 0 ? SornViewType::column : SornViewType::row);
    for (int i = 0; i < rows; ++i) outer.children.push_back(row(i));
    outer.children.push_back(std::move(node));
    node = std::move(outer);
  }
  return node;
}

// Texts of which nothing but the size is known: ten points a byte, twenty a line.
class PlainText : public layout::PreparedText {
 public:
  using PreparedText::PreparedText;
  layout::Size sizeFor(const layout::Proposal& proposal) override {
    const double length = static_cast<double>(run().text.size()) * 10;
    if (!proposal.width || *proposal.width >= length) return {length, 20};
    const double width = std::max(*proposal.width, 10.0);
    return {*proposal.width, 20 * std::ceil(length / width)};
  }
};

class PlainMeasure : public layout::TextMeasure {
 public:
  std::shared_ptr<layout::PreparedText> prepare(layout::TextRun run) override {
    return std::make_shared<PlainText>(std::move(run));
  }
};

double milliseconds(const SornView& root, layout::TextMeasure& measure) {
  const auto begin = Clock::now();
  layout::LayoutTree tree(root, documents::RootType::dialog, measure);
  const auto item = tree.takeRoot();
  layout::placeCentered(*item, {0, 0, 390, 844});
  return microsecondsSince(begin) / 1000;
}

// The two documents take turns, so that both see the same machine.
void growth(Figures& figures, const std::string& name, const SornView& once, const SornView& twice,
            int rounds) {
  PlainMeasure measure;
  Samples small;
  Samples large;
  for (int round = 0; round < rounds; ++round) {
    small.add(milliseconds(once, measure));
    large.add(milliseconds(twice, measure));
  }
  figures.plain(name, small.median(), "ms");
  figures.atMost(name + ": twice the nodes", large.median() / small.median(), 2.3, "times");
}

void run() {
  Figures figures("Layout");
  growth(figures, "1,000 nodes side by side", wide(250), wide(500), 41);
  growth(figures, "10,000 nodes side by side", wide(2'500), wide(5'000), 11);
  growth(figures, "1,000 nodes, 200 deep", deep(200, 1), deep(200, 2), 21);
  growth(figures, "a chain 100 deep and one 200 deep", deep(100, 1), deep(200, 1), 21);

  Samples samples;
  draw::PangoTextMeasure measure;
  const SornView root = wide(250);
  for (int round = 0; round < 11; ++round) samples.add(milliseconds(root, measure));
  figures.plain("1,000 nodes with 500 texts shaped and measured by Pango", samples.median(), "ms");
}

}  // namespace
}  // namespace sorn::bench

int main() {
  // Memory stays with the process, so that the allocator's dealings with the system are not measured.
  ::mallopt(M_TRIM_THRESHOLD, 1 << 30);
  ::mallopt(M_MMAP_THRESHOLD, 1 << 30);
  sorn::bench::run();
}
