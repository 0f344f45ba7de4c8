#include "sorn-campaign/Renderer.h"

#include <cstdio>
#include <functional>
#include <future>
#include <memory>
#include <utility>

#include <cairo.h>

#include "campaigns/ImageLoader.h"
#include "draw/Canvas.h"
#include "host/MainQueueThread.h"
#include "host/SystemClock.h"
#include "http/CurlTransport.h"
#include "sorn-campaign/FileImages.h"
#include "sorn/view/CampaignScene.h"
#include "support/Tasks.h"

namespace sorn::tool {

// What the library gives its campaigns, without the rest of the library.
struct Renderer::Services {
  std::shared_ptr<host::MainQueueThread> mainQueue = std::make_shared<host::MainQueueThread>();
  support::Tasks tasks{std::make_shared<host::SystemClock>(), std::make_shared<http::CurlTransport>()};
  campaigns::ImageLoader network{tasks};
  FileImages images{network};

  ~Services() { tasks.stop(); }

  // Runs the work on the main queue and waits for it.
  void onMainQueue(const std::function<void()>& work) {
    std::promise<void> ran;
    mainQueue->post([&] {
      work();
      ran.set_value();
    });
    ran.get_future().wait();
  }
};

namespace {

// Told when a scene shows all its pictures.
class Completion final : public view::SceneObserver {
 public:
  void watch(const view::CampaignScene& scene) {
    scene_ = &scene;
    check();
  }
  std::future<void> whenComplete() { return complete_.get_future(); }

  void redraw() override { check(); }
  void moved() override { check(); }

 private:
  void check() {
    if (!scene_->isLoading() && !std::exchange(isComplete_, true)) complete_.set_value();
  }

  const view::CampaignScene* scene_ = nullptr;
  bool isComplete_ = false;
  std::promise<void> complete_;
};

draw::Pixels drawn(const view::CampaignScene& scene) {
  const view::Surroundings& surroundings = scene.surroundings();
  return draw::renderToPixels(surroundings.container, surroundings.scale, [&](cairo_t* context) {
    cairo_set_source_rgb(context, 1, 1, 1);
    cairo_paint(context);
    scene.paint(context);
  });
}

}  // namespace

Renderer::Renderer(Options options) : options_(std::move(options)), services_(std::make_unique<Services>()) {}

Renderer::~Renderer() = default;

draw::Pixels Renderer::render(documents::SornInAppCampaign campaign) {
  const auto shared = std::make_shared<const view::Campaign>(std::move(campaign));
  const view::Surroundings surroundings{
      options_.size, {}, options_.scale, view::Appearance::light, options_.family};
  Completion completion;
  std::unique_ptr<view::CampaignScene> scene;
  services_->onMainQueue([&] {
    scene = std::make_unique<view::CampaignScene>(shared, surroundings, services_->images,
                                                  services_->mainQueue, completion);
    completion.watch(*scene);
  });
  if (completion.whenComplete().wait_for(options_.patience) != std::future_status::ready)
    std::fputs("sorn-campaign: not all pictures have come\n", stderr);
  draw::Pixels pixels;
  services_->onMainQueue([&] {
    pixels = drawn(*scene);
    scene.reset();
  });
  return pixels;
}

}  // namespace sorn::tool
