// Bytes as the choices of a random valid document, laid out, painted and drawn. Whatever the lengths are,
// frames stay finite, the list of commands is balanced, a tap finds its way, and drawing ends.

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <string>
#include <variant>
#include <vector>

#include "draw/Canvas.h"
#include "draw/PangoTextMeasure.h"
#include "layout/SornViewWrapper.h"
#include "support/Fault.h"

namespace {

using namespace sorn::documents;
using namespace sorn::layout;
using sorn::support::fault;

// Makes choices out of bytes; zero when they are used up, which ends every list.
class Choices {
 public:
  Choices(const std::uint8_t* data, std::size_t size) : data_(data), size_(size) {}

  std::uint8_t byte() { return at_ < size_ ? data_[at_++] : 0; }
  bool isTaken() { return byte() % 3 == 1; }
  template <class Enumeration>
  Enumeration one(int count) {
    return static_cast<Enumeration>(byte() % count);
  }
  double length() {
    static constexpr double lengths[] = {0,      -1,     1,  10, 50.5, 200,   1000,    1e6, 1e300,
                                         -1e300, 1e-300, -5, 44, 0.25, 1e308, 16384.5, 32,  3.75};
    return lengths[byte() % std::size(lengths)];
  }
  std::vector<double> lengths(int least) {
    std::vector<double> all(least + byte() % 3);
    for (double& each : all) each = length();
    return all;
  }
  std::string text() {
    static const char* const pieces[] = {"a",     "word ",       "\n",   "longer than the others ",
                                         "שלום ", "👩‍🚀", "\xFF", "é",
                                         "",      "\t",          "…",    "0123456789",
                                         "مرحبا", "漢字",        "\r\n", "\xC3"};
    std::string all;
    for (int left = byte() % 12; left > 0; --left) all += pieces[byte() % std::size(pieces)];
    return all;
  }
  std::string color() {
    static const char* const colors[] = {"#FF0000", "0F0", "#0000FF80", "", "nonsense", "#FFFFFFFF"};
    return colors[byte() % std::size(colors)];
  }

 private:
  const std::uint8_t* data_;
  std::size_t size_;
  std::size_t at_ = 0;
};

Background background(Choices& choices) {
  Background made;
  made.backgroundType = choices.one<BackgroundType>(3);
  if (choices.isTaken()) made.color = choices.color();
  if (choices.isTaken()) {
    GradientData& gradient = made.gradientData.emplace();
    gradient.gradientType = choices.one<GradientType>(5);
    for (int left = choices.byte() % 4; left > 0; --left) gradient.gradientColors.push_back(choices.color());
  }
  if (choices.isTaken()) made.imageData.emplace().url = "http://127.0.0.1/a.png";
  return made;
}

TextData textData(Choices& choices) {
  TextData made;
  made.text = choices.text();
  if (choices.isTaken()) made.fontSize = choices.length();
  if (choices.isTaken()) made.fontWeight = choices.one<FontWeight>(9);
  if (choices.isTaken()) made.textAlign = choices.one<TextAlign>(6);
  if (choices.isTaken()) made.overflow = choices.one<TextOverflow>(3);
  if (choices.isTaken()) made.maxLines = choices.byte() % 4 - 1;
  return made;
}

void addLengths(SornView& node, Choices& choices) {
  if (choices.isTaken()) node.padding = choices.lengths(4);
  if (choices.isTaken()) node.cornerRadius = choices.lengths(0);
  if (choices.isTaken()) node.width = choices.length();
  if (choices.isTaken()) node.maxWidth = choices.length();
  if (choices.isTaken()) node.height = choices.length();
  if (choices.isTaken()) node.maxHeight = choices.length();
  if (choices.isTaken()) node.aspectRatio = choices.length();
}

SornView view(Choices& choices, int depth, int& left) {
  SornView node;
  node.viewType = choices.one<SornViewType>(5);
  node.isSpacer = choices.isTaken();
  node.isSafe = choices.isTaken();
  if (choices.isTaken()) node.rootType = choices.one<RootType>(4);
  if (choices.isTaken()) node.alignment = choices.one<Alignment>(6);
  if (choices.isTaken()) node.arrangement = choices.one<Arrangement>(8);
  if (choices.isTaken()) node.background = background(choices);
  if (choices.isTaken())
    node.imageData.emplace().url = choices.isTaken() ? "no address" : "http://127.0.0.1/b.png";
  if (node.viewType == SornViewType::text || choices.isTaken()) node.textData = textData(choices);
  if (choices.isTaken()) {
    node.buttonData.emplace().border = choices.length();
    node.buttonData->borderBackground = background(choices);
  }
  addLengths(node, choices);
  for (int count = choices.byte() % 5; count > 0 && depth > 0 && left > 0; --count, --left)
    node.children.push_back(view(choices, depth - 1, left));
  return node;
}

void checkFrames(const SornViewWrapper& wrapper) {
  for (const NodeBox& node : wrapper.nodes()) {
    const Rect& frame = node.box->frame();
    for (const double length : {frame.x, frame.y, frame.width, frame.height})
      if (!std::isfinite(length)) fault("finite frames");
    if (frame.width < 0 || frame.height < 0) fault("no frame of less than nothing");
  }
}

void checkBalance(const DisplayList& list) {
  std::vector<std::size_t> open;  // the kinds of the commands that wait for their end
  for (const Command& command : list.commands) {
    if (std::holds_alternative<BeginClip>(command) || std::holds_alternative<BeginScroll>(command))
      open.push_back(command.index());
    const bool endsClip = std::holds_alternative<EndClip>(command);
    if (!endsClip && !std::holds_alternative<EndScroll>(command)) continue;
    const std::size_t begin = endsClip ? Command(BeginClip{}).index() : Command(BeginScroll{}).index();
    if (open.empty() || open.back() != begin) fault("pairs within pairs");
    open.pop_back();
  }
  if (!open.empty()) fault("an end for each beginning");
}

void draw(SornViewWrapper& wrapper) {
  const DisplayList list = wrapper.presented();
  checkFrames(wrapper);
  checkBalance(list);
  const double offsets[] = {3};
  list.hits.at({20, 30}, offsets);
  sorn::draw::renderToPixels(list, 1, {{}, offsets, 0.3});
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static auto& measure = *new sorn::draw::PangoTextMeasure();
  Choices choices(data, size);
  SornInAppCampaign campaign;
  campaign.content_metadata.type = choices.one<RootType>(4);
  campaign.content_metadata.show_close_button = choices.isTaken();
  int left = 60;
  campaign.content = view(choices, 7, left);
  SornViewWrapper wrapper(campaign, measure);
  wrapper.layOut({120, 90}, {0, 4, 0, 2});
  draw(wrapper);
  bool isChanged = false;
  for (std::size_t slot = 0; slot < wrapper.images().size(); ++slot)
    isChanged = wrapper.setImageSize(slot, {64, 48}) || isChanged;
  if (isChanged) draw(wrapper);
  return 0;
}
