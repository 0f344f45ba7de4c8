#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>

#include "documents/SornInAppCampaign.h"
#include "draw/Pixels.h"
#include "layout/Geometry.h"

namespace sorn::tool {

// Draws campaigns as a user sees them at rest, with their pictures fetched as the library fetches them;
// addresses of files are followed too. Below everything lies a white ground, in place of the host's own
// window.
class Renderer {
 public:
  struct Options {
    layout::Size size;  // points
    double scale = 1;   // pixels a point
    std::optional<std::string> family;
    // How long pictures may take altogether; after that, what has not come is drawn as loading.
    std::chrono::duration<double> patience{120};
  };

  explicit Renderer(Options options);
  ~Renderer();
  Renderer(const Renderer&) = delete;
  Renderer& operator=(const Renderer&) = delete;

  // Waits until every picture has come or failed.
  draw::Pixels render(documents::SornInAppCampaign campaign);

 private:
  struct Services;

  Options options_;
  std::unique_ptr<Services> services_;
};

}  // namespace sorn::tool
