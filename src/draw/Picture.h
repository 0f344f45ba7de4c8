#pragma once

#include <memory>
#include <mutex>
#include <string_view>

#include "layout/Geometry.h"

using cairo_surface_t = struct _cairo_surface;  // NOLINT(bugprone-reserved-identifier): Cairo's own name

namespace sorn::draw {

// What a picture may hold at most. More is undecodable, and the header alone decides, before memory is taken.
inline constexpr long long mostPicturePixels = 64'000'000;
// What is kept of it at most: a larger one is halved until it fits, which on no screen but the largest can be
// seen.
inline constexpr long long mostKeptPixels = 16'000'000;
// Cairo and Pixman count the pixels of a side in 15 bits.
inline constexpr int longestPictureSide = 32'767;

// A decoded picture: premultiplied pixels that never change. Any thread may hold it and draw it.
class Picture {
 public:
  // Takes over an image surface, on which nobody draws any more.
  explicit Picture(cairo_surface_t* surface, double pixelsPerPoint = 1);
  ~Picture();
  Picture(const Picture&) = delete;
  Picture& operator=(const Picture&) = delete;

  // In points: a picture of a campaign has one pixel for each.
  layout::Size size() const;
  int pixelWidth() const;
  int pixelHeight() const;
  // Stays the picture's own.
  cairo_surface_t* surface() const { return surface_; }

  // The whole picture in fewer pixels, each the mean of those that it stands for; a reference for the caller.
  // The last answer is kept: a picture is mostly painted again and again at one size.
  cairo_surface_t* scaledDown(int width, int height) const;

 private:
  cairo_surface_t* surface_;
  double pixelsPerPoint_;
  mutable std::mutex mutex_;
  mutable cairo_surface_t* scaled_ = nullptr;
};

// Decodes PNG, JPEG, GIF, WebP, TIFF, BMP and AVIF as far as the system has decoders for them. Of an
// animation comes the first frame; an embedded orientation is applied. Null for anything else: what is empty,
// cut off, damaged or too large. Vector formats and gdk-pixbuf's rarer decoders are never run on what a
// network sent. Runs on any thread.
std::shared_ptr<const Picture> decodePicture(std::string_view bytes);

// The picture "image-broken", which stands for one that cannot be shown; 64 by 64 points.
std::shared_ptr<const Picture> brokenPicture();

}  // namespace sorn::draw
