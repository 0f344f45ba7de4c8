#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "sorn/Export.h"
#include "sorn/platform/MainQueue.h"
#include "sorn/view/Campaign.h"
#include "sorn/view/Geometry.h"
#include "sorn/view/ImageSource.h"
#include "sorn/view/Target.h"

using cairo_t = struct _cairo;  // NOLINT(bugprone-reserved-identifier): Cairo's own name

namespace sorn::view {

enum class Appearance : std::uint8_t { light, dark };

// What a campaign is shown on. `container` is the whole surface; the insets tell what the device covers of
// it.
struct Surroundings {
  Size container;
  Insets safeArea{};
  double scale = 1;                           // pixels a point
  Appearance appearance = Appearance::light;  // campaigns bring their own colours: alike in both today
  std::optional<std::string> fontFamily{};    // that the host chose for all texts; absent: the system's

  bool operator==(const Surroundings&) const = default;
};

// How a campaign comes in: over the whole container, up in front of a backdrop, or as a sheet from an edge.
enum class Style : std::uint8_t { fullscreen, dialog, top, bottom };

// Whoever shows a scene: told when to paint again. Called on the main queue, never by the constructor; the
// scene may be destroyed in it.
class SceneObserver {
 public:
  virtual ~SceneObserver() = default;
  // Something looks different; everything is where it was.
  virtual void redraw() = 0;
  // Frames have changed: a picture has arrived, or the surroundings are others. Includes a redraw.
  virtual void moved() = 0;
};

// What differs from one painting to the next while nothing has changed.
struct Moment {
  double spinnerTurns = 0;  // since the loading began; a turn takes a second
  double corners = 1;       // share of its corners' radius that a sheet on its way in or out has
};

class SceneContent;

// A campaign on its surface, without any toolkit: layout, pictures, scrolling, painting. There are two views.
// The backdrop fills the container. The presented view lies above it and is what a transition moves as a
// whole, with its pull bar and close button; for full-screen campaigns and dialogs it fills the container
// too.
//
// Belongs to the thread of the main queue. It may end at any time; nothing is called after that.
class SORN_EXPORT CampaignScene {
 public:
  // Begins to fetch the pictures. The source and the observer outlive the scene.
  CampaignScene(std::shared_ptr<const Campaign> campaign, Surroundings surroundings, ImageSource& images,
                std::shared_ptr<platform::MainQueue> mainQueue, SceneObserver& observer);
  ~CampaignScene();
  CampaignScene(const CampaignScene&) = delete;
  CampaignScene& operator=(const CampaignScene&) = delete;

  const Surroundings& surroundings() const;
  void setSurroundings(Surroundings surroundings);

  Style style() const;
  // Where the presented view lies in the container when it is at rest.
  Rect presentedFrame() const;
  // Of a sheet at rest: the radius of its two corners that are not at the container's edge.
  double cornerRadius() const;
  // Whether a picture is still on its way, so that a spinner turns in its place.
  bool isLoading() const;

  // Paint into contexts whose unit is a point, on whatever is there: the backdrop at an opacity, from the
  // container's top left; the presented view from its own top left, wherever it is at the moment; or both at
  // rest.
  void paintBackdrop(cairo_t* context, double opacity = 1) const;
  void paintPresented(cairo_t* context, const Moment& moment = {}) const;
  void paint(cairo_t* context, const Moment& moment = {}) const;

  // What a tap there means, in points of the container, the presented view being at rest.
  Target targetAt(Point point) const;
  // All places that answer to a tap, from the back to the front, as far as they are scrolled now.
  std::vector<Target> targets() const;
  // Scrolls what lies there by so many points, downwards in the content; whether it could.
  bool scroll(Point point, double by);

 private:
  std::unique_ptr<SceneContent> content_;
};

}  // namespace sorn::view
