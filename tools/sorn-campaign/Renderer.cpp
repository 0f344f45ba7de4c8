#include "sorn-campaign/Renderer.h"

#include <cstdio>
#include <functional>
#include <future>
#include <memory>
#include <utility>
#include <vector>

#include "campaigns/ImageLoader.h"
#include "draw/AsyncImageView.h"
#include "draw/Canvas.h"
#include "draw/PangoTextMeasure.h"
#include "draw/Picture.h"
#include "host/MainQueueThread.h"
#include "host/SystemClock.h"
#include "http/CurlTransport.h"
#include "layout/SornViewWrapper.h"
#include "sorn-campaign/FileImages.h"
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

// One campaign on its surface. Lives on the main queue.
class Renderer::Scene {
 public:
  Scene(const documents::SornInAppCampaign& campaign, const Options& options, Services& services,
        std::promise<void>& complete)
      : options_(options),
        complete_(complete),
        measure_(options.scale),
        wrapper_(campaign, measure_, options.family),
        states_(wrapper_.images().size()) {
    wrapper_.layOut(options.size);
    waiting_ = states_.size();
    for (std::size_t slot = 0; slot < states_.size(); ++slot)
      views_.push_back(std::make_unique<draw::AsyncImageView>(
          services.images, services.mainQueue, wrapper_.images()[slot].url,
          [this, slot](const draw::AsyncImageView& view) { show(slot, view); }));
    if (views_.empty()) complete_.set_value();
    for (const auto& view : views_) view->load();
  }

  draw::Pixels draw() const {
    layout::DisplayList list = wrapper_.displayList();
    list.commands.insert(list.commands.begin(),
                         layout::FillShape{{{0, 0, list.size.width, list.size.height}, {}}, layout::white});
    return draw::renderToPixels(list, options_.scale, {states_, {}, 0});
  }

 private:
  void show(std::size_t slot, const draw::AsyncImageView& view) {
    states_[slot] = view.state();
    wrapper_.setImageSize(slot, view.picture()->size());
    if (--waiting_ == 0) complete_.set_value();
  }

  const Options& options_;
  std::promise<void>& complete_;
  draw::PangoTextMeasure measure_;
  layout::SornViewWrapper wrapper_;
  std::vector<draw::ImageState> states_;
  std::size_t waiting_ = 0;
  std::vector<std::unique_ptr<draw::AsyncImageView>> views_;
};

Renderer::Renderer(Options options) : options_(std::move(options)), services_(std::make_unique<Services>()) {}

Renderer::~Renderer() = default;

draw::Pixels Renderer::render(const documents::SornInAppCampaign& campaign) {
  std::promise<void> complete;
  std::unique_ptr<Scene> scene;
  services_->onMainQueue([&] { scene = std::make_unique<Scene>(campaign, options_, *services_, complete); });
  if (complete.get_future().wait_for(options_.patience) != std::future_status::ready)
    std::fputs("sorn-campaign: not all pictures have come\n", stderr);
  draw::Pixels pixels;
  services_->onMainQueue([&] {
    pixels = scene->draw();
    scene.reset();
  });
  return pixels;
}

}  // namespace sorn::tool
