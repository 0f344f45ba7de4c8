// A full-screen campaign of 1080 by 1920 pixels: layout and painting against the same calls of Cairo and
// Pango by hand, and what a picture costs that comes later.

#include <memory>
#include <stdexcept>
#include <vector>

#include <cairo.h>

#include "BareDrawing.h"
#include "Figures.h"
#include "Offer.h"
#include "documents/SornInAppCampaign.h"
#include "draw/Canvas.h"
#include "draw/PangoTextMeasure.h"
#include "draw/Picture.h"
#include "layout/SornViewWrapper.h"

namespace sorn::bench {
namespace {

constexpr layout::Size offerSize{offerWidth, offerHeight};

documents::SornInAppCampaign offer() {
  auto campaigns = documents::decodeCampaigns(offerCampaign("http://127.0.0.1/hero.png"));
  if (!campaigns) throw std::logic_error(campaigns.error().description());
  return campaigns->front();
}

// Counts the texts that are measured anew.
class CountedText : public layout::PreparedText {
 public:
  CountedText(std::shared_ptr<layout::PreparedText> text, int& count)
      : PreparedText(text->run()), text_(std::move(text)), count_(count) {}
  layout::Size sizeFor(const layout::Proposal& proposal) override {
    ++count_;
    return text_->sizeFor(proposal);
  }

 private:
  std::shared_ptr<layout::PreparedText> text_;
  int& count_;
};

class CountedMeasure : public layout::TextMeasure {
 public:
  explicit CountedMeasure(layout::TextMeasure& measure) : measure_(measure) {}
  std::shared_ptr<layout::PreparedText> prepare(layout::TextRun run) override {
    return std::make_shared<CountedText>(measure_.prepare(std::move(run)), count);
  }
  int count = 0;

 private:
  layout::TextMeasure& measure_;
};

void againstBareCalls(Figures& figures) {
  constexpr int rounds = 41;
  const auto campaign = offer();
  const auto picture = draw::decodePicture(offerPicture());
  if (!picture) throw std::logic_error("no picture");
  draw::PangoTextMeasure measure;
  Samples ours;
  Samples bare;
  for (int round = 0; round < rounds; ++round) {
    auto begin = Clock::now();
    cairo_surface_destroy(drawOfferBare(picture->surface()));
    bare.add(microsecondsSince(begin) / 1000);
    begin = Clock::now();
    layout::SornViewWrapper wrapper(campaign, measure, offerFamily);
    wrapper.layOut(offerSize);
    wrapper.setImageSize(0, picture->size());
    const draw::ImageState states[] = {picture};
    draw::renderToPixels(wrapper.presented(), 1, {states, {}, 0});
    ours.add(microsecondsSince(begin) / 1000);
  }
  figures.plain("a full-screen campaign, layout and painting", ours.median(), "ms");
  figures.plain("the same by bare calls of Cairo and Pango", bare.median(), "ms");
  figures.atMost("layout and painting against the bare calls", ours.median() / bare.median(), 2, "times");
}

// In the offer the picture's place is set; in the other one it is as high as it likes to be, and all below
// moves.
void laterPicture(Figures& figures) {
  draw::PangoTextMeasure pango;
  for (const bool isSet : {true, false}) {
    auto campaign = offer();
    if (!isSet) campaign.content.children.front().height.reset();
    if (!isSet) campaign.content.isSafe = true;
    CountedMeasure measure(pango);
    layout::SornViewWrapper wrapper(campaign, measure, offerFamily);
    auto begin = Clock::now();
    wrapper.layOut(offerSize);
    const double first = microsecondsSince(begin);
    measure.count = 0;
    begin = Clock::now();
    wrapper.setImageSize(0, {640, 480});
    const double later = microsecondsSince(begin);
    const std::string name = isSet ? "a picture comes into its place" : "a picture comes and moves the rest";
    figures.atMost(name + ": texts measured again", measure.count, 0, "");
    figures.plain(name + ": layout against the first one", later / first, "times");
  }
}

void radialGradient(Figures& figures) {
  constexpr int rounds = 11;
  layout::DisplayList list;
  list.size = offerSize;
  const layout::RadialGradient gradient{{offerWidth / 2.0, offerHeight / 2.0},
                                        offerWidth / 2.0,
                                        {layout::white, layout::Color{0.1, 0.3, 0.7, 1}}};
  list.commands.emplace_back(layout::FillShape{{{0, 0, offerWidth, offerHeight}, {}}, gradient});
  Samples ours;
  Samples bare;
  for (int round = 0; round < rounds; ++round) {
    auto begin = Clock::now();
    draw::renderToPixels(list, 1, {});
    ours.add(microsecondsSince(begin) / 1000);
    begin = Clock::now();
    cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, offerWidth, offerHeight);
    cairo_t* context = cairo_create(surface);
    cairo_pattern_t* pattern = cairo_pattern_create_radial(
        gradient.center.x, gradient.center.y, 0, gradient.center.x, gradient.center.y, gradient.radius);
    cairo_pattern_add_color_stop_rgb(pattern, 0, 1, 1, 1);
    cairo_pattern_add_color_stop_rgb(pattern, 1, 0.1, 0.3, 0.7);
    cairo_set_source(context, pattern);
    cairo_paint(context);
    cairo_pattern_destroy(pattern);
    cairo_destroy(context);
    cairo_surface_destroy(surface);
    bare.add(microsecondsSince(begin) / 1000);
  }
  figures.plain("a radial gradient of 1080 by 1920 pixels", ours.median(), "ms");
  figures.plain("the same by Cairo's own", bare.median(), "ms");
}

void run() {
  Figures figures("Drawing");
  againstBareCalls(figures);
  laterPicture(figures);
  radialGradient(figures);
}

}  // namespace
}  // namespace sorn::bench

int main() { sorn::bench::run(); }
