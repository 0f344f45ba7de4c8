#include "sorn/view/CampaignScene.h"

#include <cmath>
#include <utility>

#include <cairo.h>

#include "view/SceneContent.h"

namespace sorn::view {

CampaignScene::CampaignScene(std::shared_ptr<const Campaign> campaign, Surroundings surroundings,
                             ImageSource& images, std::shared_ptr<platform::MainQueue> mainQueue,
                             SceneObserver& observer)
    : content_(std::make_unique<SceneContent>(std::move(campaign), std::move(surroundings), images,
                                              std::move(mainQueue), observer)) {}

CampaignScene::~CampaignScene() = default;

const Surroundings& CampaignScene::surroundings() const { return content_->surroundings(); }

void CampaignScene::setSurroundings(Surroundings surroundings) {
  content_->setSurroundings(std::move(surroundings));
}

Style CampaignScene::style() const { return content_->style(); }

Rect CampaignScene::presentedFrame() const { return content_->wrapper().presentedFrame(); }

double CampaignScene::cornerRadius() const {
  const layout::SornViewWrapper& wrapper = content_->wrapper();
  return wrapper.isSheet() ? wrapper.sheet().cornerRadius : 0;
}

bool CampaignScene::isLoading() const { return content_->isLoading(); }

void CampaignScene::paintBackdrop(cairo_t* context, double opacity) const {
  content_->paintBackdrop(context, opacity);
}

void CampaignScene::paintPresented(cairo_t* context, const Moment& moment) const {
  content_->paintPresented(context, moment);
}

// The view's own pixels lie on those of the container.
void CampaignScene::paint(cairo_t* context, const Moment& moment) const {
  paintBackdrop(context);
  const double scale = surroundings().scale;
  const auto onPixel = [scale](double length) { return std::round(length * scale) / scale; };
  const Rect frame = presentedFrame();
  cairo_save(context);
  cairo_translate(context, onPixel(frame.x), onPixel(frame.y));
  paintPresented(context, moment);
  cairo_restore(context);
}

Target CampaignScene::targetAt(Point point) const { return content_->targetAt(point); }

std::vector<Target> CampaignScene::targets() const { return content_->targets(); }

bool CampaignScene::scroll(Point point, double by) { return content_->scroll(point, by); }

}  // namespace sorn::view
