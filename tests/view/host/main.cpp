// An adapter of another toolkit in small: shows a campaign on a Cairo surface, taps its button and its close
// button. It sees the installed headers and the two shared libraries alone. Exit status 0 when all is as it
// should be.

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <cairo.h>

#include "sorn/NotificationCenter.h"
#include "sorn/view/CampaignScene.h"

namespace {

using namespace sorn::view;

constexpr const char* document = R"([{"id":"a","version":{"android":1,"ios":1},"audience":"all",
  "content":{"viewType":"column","width":-1,"children":[
    {"viewType":"image","imageData":{"url":"http://127.0.0.1/none.png"},"width":-1,"height":40,"children":[]},
    {"viewType":"button","width":-1,"height":50,"children":[],
     "background":{"backgroundType":"color","color":"#00FF00"}}]},
  "content_metadata":{"type":"dialog","background_color":"#0000FF","show_close_button":true,
                      "dismissable_on_tap":true}}])";

struct NoImages final : ImageSource {
  std::unique_ptr<Fetch> fetch(const std::string&, Completion completion) override {
    completion(std::nullopt);
    return nullptr;
  }
};

struct Loop final : sorn::platform::MainQueue {
  void post(std::function<void()> work) override { works.push_back(std::move(work)); }
  void postAfter(std::chrono::duration<double>, std::function<void()> work) override {
    post(std::move(work));
  }
  void run() {
    for (const auto& work : std::exchange(works, {})) work();
  }
  std::vector<std::function<void()>> works;
};

struct Screen final : SceneObserver {
  void redraw() override { ++redraws; }
  void moved() override { ++redraws; }
  int redraws = 0;
};

void expect(bool isSo, const char* what) {
  if (isSo) return;
  std::fprintf(stderr, "view-host: not so: %s\n", what);
  std::exit(1);
}

std::uint32_t pixel(cairo_surface_t* surface, int x, int y) {
  cairo_surface_flush(surface);
  const unsigned char* row =
      cairo_image_surface_get_data(surface) + y * cairo_image_surface_get_stride(surface);
  return reinterpret_cast<const std::uint32_t*>(row)[x];
}

void show() {
  NoImages images;
  const auto loop = std::make_shared<Loop>();
  Screen screen;
  const auto campaign = decodeCampaigns(document).at(0);
  CampaignScene scene(campaign, {{256, 300}}, images, loop, screen);
  loop->run();
  expect(screen.redraws == 1 && !scene.isLoading(), "a picture that does not come is told");
  expect(scene.style() == Style::dialog && scene.presentedFrame() == Rect{0, 0, 256, 300}, "a dialog");

  cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, 256, 300);
  cairo_t* context = cairo_create(surface);
  scene.paint(context);
  expect(pixel(surface, 5, 5) == 0xFF0000FF, "the backdrop is blue");
  expect(pixel(surface, 128, 170) == 0xFF00FF00, "the button is green");
  cairo_destroy(context);
  cairo_surface_destroy(surface);

  const Target button = scene.targetAt({128, 170});
  expect(button.kind == Target::Kind::button && button.path == "content.children[1]", "a tap on the button");
  expect(button.frame == Rect{28, 145, 200, 50} && button.node != nullptr, "where the button lies");
  expect(scene.targetAt({228, 105}).kind == Target::Kind::closeButton, "a tap on the close button");
}

void refuse() {
  std::string cause;
  try {
    decodeCampaigns("[{}]");
  } catch (const std::invalid_argument& error) {
    cause = error.what();
  }
  expect(cause.starts_with("[0]"), "a fault is told with its place");
}

}  // namespace

int main() {
  show();
  refuse();
  // The core is there too, once.
  int calls = 0;
  auto& center = sorn::NotificationCenter::defaultCenter();
  center.addObserver("tapped", [&](std::string_view, const sorn::Dictionary&) { ++calls; });
  center.post("tapped");
  expect(calls == 1, "notifications of the core");
}
