// Draws the offer as a host does: from the campaign file's text and the picture's bytes to pixels. Says
// "drawn" when the first frame is complete, then the median of the later ones in milliseconds, each from the
// beginning.

#include <chrono>
#include <cstdio>
#include <functional>
#include <memory>
#include <string>

#include "Figures.h"
#include "Offer.h"
#include "draw/Canvas.h"
#include "sorn/view/CampaignScene.h"

namespace {

using namespace sorn;

// The picture is at hand, and there is no other thread to wait for.
struct AtHand final : view::ImageSource {
  std::unique_ptr<Fetch> fetch(const std::string&, Completion completion) override {
    completion(bytes);
    return nullptr;
  }
  std::string bytes;
};

struct AtOnce final : platform::MainQueue {
  void post(std::function<void()> work) override { work(); }
  void postAfter(std::chrono::duration<double>, std::function<void()> work) override { work(); }
};

struct Unwatched final : view::SceneObserver {
  void redraw() override {}
  void moved() override {}
};

bool drawOffer(const std::string& document, AtHand& images) {
  Unwatched observer;
  const view::Size size{bench::offerWidth, bench::offerHeight};
  const view::CampaignScene scene(view::decodeCampaigns(document).front(),
                                  {size, {}, 1, view::Appearance::light, bench::offerFamily}, images,
                                  std::make_shared<AtOnce>(), observer);
  if (scene.isLoading()) return false;
  const auto pixels = draw::renderToPixels(size, 1, [&](cairo_t* context) { scene.paint(context); });
  return pixels.height == bench::offerHeight;
}

}  // namespace

int main() {
  constexpr int laterFrames = 20;
  const std::string document = bench::offerCampaign("http://127.0.0.1/hero.png");
  AtHand images;
  images.bytes = bench::offerPicture();
  if (!drawOffer(document, images)) return 1;
  std::puts("drawn");
  std::fflush(stdout);
  bench::Samples samples;
  for (int frame = 0; frame < laterFrames; ++frame) {
    const auto begin = bench::Clock::now();
    drawOffer(document, images);
    samples.add(bench::microsecondsSince(begin) / 1000);
  }
  std::printf("%f\n", samples.median());
}
