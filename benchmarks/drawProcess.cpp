// Draws the offer as a host does: from the campaign file's text and the picture's bytes to pixels. Says
// "drawn" when the first frame is complete, then the median of the later ones in milliseconds, each from the
// beginning.

#include <cstdio>
#include <string>

#include "Figures.h"
#include "Offer.h"
#include "documents/SornInAppCampaign.h"
#include "draw/Canvas.h"
#include "draw/PangoTextMeasure.h"
#include "draw/Picture.h"
#include "layout/SornViewWrapper.h"

namespace {

using namespace sorn;

bool drawOffer(const std::string& document, const std::string& bytes) {
  const auto campaigns = documents::decodeCampaigns(document);
  if (!campaigns) return false;
  draw::PangoTextMeasure measure;
  layout::SornViewWrapper wrapper(campaigns->front(), measure, bench::offerFamily);
  wrapper.layOut({bench::offerWidth, bench::offerHeight});
  const auto picture = draw::decodePicture(bytes);
  if (!picture) return false;
  wrapper.setImageSize(0, picture->size());
  const draw::ImageState states[] = {picture};
  return draw::renderToPixels(wrapper.displayList(), 1, {states, {}, 0}).height == bench::offerHeight;
}

}  // namespace

int main() {
  constexpr int laterFrames = 20;
  const std::string document = bench::offerCampaign("http://127.0.0.1/hero.png");
  const std::string bytes = bench::offerPicture();
  if (!drawOffer(document, bytes)) return 1;
  std::puts("drawn");
  std::fflush(stdout);
  bench::Samples samples;
  for (int frame = 0; frame < laterFrames; ++frame) {
    const auto begin = bench::Clock::now();
    drawOffer(document, bytes);
    samples.add(bench::microsecondsSince(begin) / 1000);
  }
  std::printf("%f\n", samples.median());
}
