#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>

#include <gdk-pixbuf/gdk-pixbuf.h>

#include "draw/Halving.h"
#include "draw/Handles.h"
#include "draw/Picture.h"

namespace sorn::draw {

namespace {

using namespace std::string_view_literals;

struct Unref {
  void operator()(gpointer object) const { g_object_unref(object); }
};
using Loader = std::unique_ptr<GdkPixbufLoader, Unref>;
using Pixbuf = std::unique_ptr<GdkPixbuf, Unref>;

// A format by its first bytes, and the name of its decoder.
struct Signature {
  std::size_t offset;
  std::string_view bytes;
  const char* decoder;
};
constexpr std::array<Signature, 9> signatures{{
    {0, "\x89PNG\r\n\x1a\n"sv, "png"},
    {0, "\xFF\xD8\xFF"sv, "jpeg"},
    {0, "GIF87a"sv, "gif"},
    {0, "GIF89a"sv, "gif"},
    {8, "WEBP"sv, "webp"},
    {0, "II*\0"sv, "tiff"},
    {0, "MM\0*"sv, "tiff"},
    {0, "BM"sv, "bmp"},
    {4, "ftypavif"sv, "avif"},
}};

const char* decoderFor(std::string_view bytes) {
  for (const Signature& signature : signatures) {
    const auto& [offset, text, decoder] = signature;
    if (bytes.size() > offset + text.size() && bytes.substr(offset, text.size()) == text) return decoder;
  }
  return nullptr;
}

// The decoder fills in what is missing of a JPEG and calls it done, so the end is looked for here. The
// segments are skipped by their lengths, since they may hold a small picture with an end of its own; within
// the coded data no byte 0xFF stands before 0xD9.
bool hasJpegEnd(std::string_view bytes) {
  const auto byte = [&](std::size_t i) { return static_cast<std::uint8_t>(bytes[i]); };
  std::size_t at = 2;
  while (at + 4 <= bytes.size() && byte(at) == 0xFF && byte(at + 1) != 0xDA) {
    at += byte(at + 1) == 0xFF ? 1U : 2U + byte(at + 2) * 256U + byte(at + 3);
  }
  return at < bytes.size() && bytes.find("\xFF\xD9"sv, at) != std::string_view::npos;
}

bool hasItsEnd(std::string_view bytes, std::string_view decoder) {
  if (decoder == "png") return bytes.find("IEND\xAE\x42\x60\x82"sv) != std::string_view::npos;
  if (decoder == "jpeg") return hasJpegEnd(bytes);
  return true;
}

// What the decoder tells on its way.
struct Progress {
  bool isTooLarge = false;
  int height = 0;
  // The rows that have come; bitmaps come from below. Empty when the decoder tells nothing.
  int firstRow = 0;
  int endRow = 0;

  bool isComplete() const { return endRow == 0 || (firstRow == 0 && endRow >= height); }
};

void onSize(GdkPixbufLoader* loader, int width, int height, gpointer data) {
  auto& progress = *static_cast<Progress*>(data);
  const long long pixels = static_cast<long long>(width) * height;
  progress.isTooLarge = pixels > mostPicturePixels || std::max(width, height) > longestPictureSide;
  progress.height = progress.firstRow = height;
  if (progress.isTooLarge) gdk_pixbuf_loader_set_size(loader, 0, 0);  // makes the decoder give up
}

void onRows(GdkPixbufLoader*, int, int y, int, int height, gpointer data) {
  auto& progress = *static_cast<Progress*>(data);
  progress.firstRow = std::min(progress.firstRow, y);
  progress.endRow = std::max(progress.endRow, y + height);
}

// The picture upright, or null.
Pixbuf decoded(std::string_view bytes, const char* decoder) {
  const Loader loader(gdk_pixbuf_loader_new_with_type(decoder, nullptr));
  if (!loader) return nullptr;
  Progress progress;
  g_signal_connect(loader.get(), "size-prepared", G_CALLBACK(onSize), &progress);
  g_signal_connect(loader.get(), "area-updated", G_CALLBACK(onRows), &progress);
  const bool isWritten = gdk_pixbuf_loader_write(loader.get(), reinterpret_cast<const guchar*>(bytes.data()),
                                                 bytes.size(), nullptr) != FALSE;
  const bool isClosed = gdk_pixbuf_loader_close(loader.get(), nullptr) != FALSE;
  if (!isWritten || !isClosed || progress.isTooLarge || !progress.isComplete()) return nullptr;
  GdkPixbuf* pixbuf = gdk_pixbuf_loader_get_pixbuf(loader.get());
  return Pixbuf(pixbuf == nullptr ? nullptr : gdk_pixbuf_apply_embedded_orientation(pixbuf));
}

long long pixelsOf(cairo_surface_t* surface) {
  return static_cast<long long>(cairo_image_surface_get_width(surface)) *
         cairo_image_surface_get_height(surface);
}

std::uint32_t opaque(const guchar* pixel) {
  return 0xFF000000U | static_cast<std::uint32_t>(pixel[0]) << 16 |
         static_cast<std::uint32_t>(pixel[1]) << 8 | pixel[2];
}

std::uint32_t premultiplied(const guchar* pixel) {
  const std::uint32_t alpha = pixel[3];
  const auto channel = [&](int i) { return (pixel[i] * alpha + 127) / 255; };
  return alpha << 24 | channel(0) << 16 | channel(1) << 8 | channel(2);
}

Surface surfaceOf(const GdkPixbuf* pixbuf) {
  const int width = gdk_pixbuf_get_width(pixbuf);
  const int height = gdk_pixbuf_get_height(pixbuf);
  Surface surface = imageSurface(width, height);
  if (!isSound(surface)) return nullptr;
  const bool hasAlpha = gdk_pixbuf_get_has_alpha(pixbuf) != FALSE;
  const int channels = gdk_pixbuf_get_n_channels(pixbuf);
  for (int y = 0; y < height; ++y) {
    const guchar* from =
        gdk_pixbuf_read_pixels(pixbuf) + static_cast<std::ptrdiff_t>(y) * gdk_pixbuf_get_rowstride(pixbuf);
    std::uint32_t* to = rowOf(surface.get(), y);
    if (hasAlpha) {
      for (int x = 0; x < width; ++x, from += channels) to[x] = premultiplied(from);
    } else {
      for (int x = 0; x < width; ++x, from += channels) to[x] = opaque(from);
    }
  }
  cairo_surface_mark_dirty(surface.get());
  return surface;
}

}  // namespace

std::shared_ptr<const Picture> decodePicture(std::string_view bytes) {
  const char* decoder = decoderFor(bytes);
  if (decoder == nullptr || !hasItsEnd(bytes, decoder)) return nullptr;
  Pixbuf pixbuf = decoded(bytes, decoder);
  if (!pixbuf) return nullptr;
  const int width = gdk_pixbuf_get_width(pixbuf.get());
  Surface surface = surfaceOf(pixbuf.get());
  pixbuf.reset();
  if (!surface) return nullptr;
  while (pixelsOf(surface.get()) > mostKeptPixels) surface = halved(surface.get());
  const double pixelsPerPoint = static_cast<double>(cairo_image_surface_get_width(surface.get())) / width;
  return std::make_shared<const Picture>(surface.release(), pixelsPerPoint);
}

}  // namespace sorn::draw
