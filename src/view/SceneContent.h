#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <vector>

#include "documents/SornInAppCampaign.h"
#include "draw/AsyncImageView.h"
#include "draw/PangoTextMeasure.h"
#include "layout/SornViewWrapper.h"
#include "sorn/view/CampaignScene.h"

namespace sorn::view {

// What a scene is made of: the campaign laid out, the views of its pictures, how far its parts have scrolled,
// and the list that paints it, which is made anew only when something has moved.
class SceneContent {
 public:
  SceneContent(std::shared_ptr<const Campaign> campaign, Surroundings surroundings, ImageSource& images,
               std::shared_ptr<platform::MainQueue> mainQueue, SceneObserver& observer);

  const Surroundings& surroundings() const { return surroundings_; }
  void setSurroundings(Surroundings surroundings);

  Style style() const;
  const layout::SornViewWrapper& wrapper() const { return *wrapper_; }
  bool isLoading() const;

  void paintBackdrop(cairo_t* context, double opacity) const;
  void paintPresented(cairo_t* context, const Moment& moment) const;

  Target targetAt(Point point) const;
  std::vector<Target> targets() const;
  bool scroll(Point point, double by);

 private:
  Point inPresented(Point point) const;
  Target targetOf(const layout::HitTarget& hit) const;
  void prepare();
  void layOut();
  void makeList();
  void loadImages(ImageSource& images, const std::shared_ptr<platform::MainQueue>& mainQueue);
  void show(std::size_t slot, const draw::AsyncImageView& view);

  std::shared_ptr<const Campaign> campaign_;
  Surroundings surroundings_;
  SceneObserver& observer_;
  bool isMade_ = false;  // before that the observer is told nothing

  std::optional<draw::PangoTextMeasure> measure_;
  std::optional<layout::SornViewWrapper> wrapper_;
  layout::DisplayList presented_;
  std::vector<double> offsets_;  // of each scroll area, in points
  std::vector<draw::ImageState> states_;
  std::vector<std::unique_ptr<draw::AsyncImageView>> views_;
};

}  // namespace sorn::view
