#include <thread>

#include <gtest/gtest.h>
#include <sys/resource.h>

#include "draw/TestPictures.h"

namespace sorn::draw {
namespace {

using namespace std::string_literals;
using layout::Size;

Pixels shown(const std::shared_ptr<const Picture>& picture) {
  const auto [width, height] = picture->size();
  return drawn(listOf(picture->size(), {layout::DrawImage{0, {0, 0, width, height}, {}}}), 1, {picture});
}

TEST(Picture, PngKeepsItsColoursAndItsTransparency) {
  const auto picture = decodePicture(pngOfStripes(30, 5, {red, layout::clear, {0, 0, 1, 0.5}}));
  ASSERT_NE(picture, nullptr);
  EXPECT_EQ(picture->size(), (Size{30, 5}));
  const Pixels pixels = shown(picture);
  EXPECT_EQ(pixels.at(5, 2), redPixel);
  EXPECT_EQ(pixels.at(15, 2), 0U);
  EXPECT_EQ(pixels.at(25, 2), 0x80000080U);  // premultiplied
}

TEST(Picture, JpegIsTurnedAsItsOrientationSays) {
  const std::string jpeg = jpegOfHalves(64, 16, 0xFF0000, 0x0000FF);
  struct Case {
    char orientation;
    Size size;
    int redX, redY;
  };
  for (const auto& [orientation, size, redX, redY] :
       {Case{3, {64, 16}, 56, 8}, Case{6, {16, 64}, 8, 8}, Case{8, {16, 64}, 8, 56}}) {
    const auto picture = decodePicture(withOrientation(jpeg, orientation));
    ASSERT_NE(picture, nullptr) << int{orientation};
    EXPECT_EQ(picture->size(), size) << int{orientation};
    const std::uint32_t pixel = shown(picture).at(redX, redY);
    EXPECT_GT(pixel >> 16 & 0xFF, 240U) << int{orientation};
    EXPECT_LT(pixel & 0xFF, 15U) << int{orientation};
  }
}

TEST(Picture, WhatIsNoWholePictureIsNone) {
  std::string damaged = pngOfStripes(40, 40, {red, green});
  damaged[damaged.size() / 2] ^= 0x55;
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"png, damaged", damaged},
      {"jpeg, start alone", "\xFF\xD8\xFF\xFF\xFF\xFF\xFF"},
      {"jpeg, segment beyond the end", "\xFF\xD8\xFF\xE1\xFF\xFF"},
      {"gif, header alone", "GIF89a\x10\0\x10\0\0\0\0"s},
      {"bmp, header alone", "BM\x46\0\0\0\0\0\0\0\x36\0\0\0\x28\0\0\0\x02\0\0\0\x02\0\0\0\x01\0\x18\0"s},
      {"page", "<!DOCTYPE html><html><body>404</body></html>"},
      {"vector",
       R"(<svg xmlns="http://www.w3.org/2000/svg" width="9" height="9"><rect width="9" height="9"/></svg>)"}};
  for (const auto& [name, bytes] : cases) EXPECT_EQ(decodePicture(bytes), nullptr) << name;
}

TEST(Picture, EveryCutOfAPngAndAJpegIsNone) {
  const std::string jpeg = jpegOfHalves(9, 9, 0, 0xFFFFFF);
  // The small picture in a header has an end of its own.
  const std::string withThumbnail = jpeg.substr(0, 2) + "\xFF\xE2\x00\x06\xFF\xD9\xFF\xD9"s + jpeg.substr(2);
  for (const std::string& whole : {pngOfStripes(9, 9, {red, green, blue}), withThumbnail}) {
    ASSERT_NE(decodePicture(whole), nullptr);
    for (std::size_t length = 0; length < whole.size(); ++length) {
      ASSERT_EQ(decodePicture(std::string_view(whole).substr(0, length)), nullptr) << length;
    }
  }
}

long peakMegabytes() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return usage.ru_maxrss / 1024;
}

TEST(Picture, TooManyPixelsAreRefusedBeforeMemoryIsTaken) {
  const std::string wide = pngOfBits(8'001, 8'000);
  const long before = peakMegabytes();
  EXPECT_EQ(decodePicture(wide), nullptr);
  EXPECT_LT(peakMegabytes() - before, 64);
  // The header of one with 60,000 by 60,000; the sum over its chunk by zlib's crc32.
  const std::string announced = "\x89PNG\r\n\x1a\n\0\0\0\x0dIHDR\0\0\xea\x60\0\0\xea\x60\x08\x02\0\0\0"s +
                                "\x0f\xb0\xe2\x15"s + "\0\0\0\0IEND\xae\x42\x60\x82"s;
  EXPECT_EQ(decodePicture(announced), nullptr);
  // The longest side that Cairo can count.
  EXPECT_NE(decodePicture(pngOfStripes(32'767, 1, {red})), nullptr);
}

TEST(Picture, ThreadsDecodeAndScaleSideBySide) {
  const std::string png = pngOfStripes(60, 60, {red, green, blue});
  const auto shared = decodePicture(png);
  std::vector<std::jthread> threads;
  threads.reserve(4);
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&, i] {
      for (int round = 0; round < 20; ++round) {
        ASSERT_NE(decodePicture(png), nullptr);
        const auto list = listOf({30, 30}, {layout::DrawImage{0, {0, 0, 10.0 + i, 10.0 + i}, {}}});
        ASSERT_EQ(drawn(list, 1, {shared}).at(1, 5), redPixel);
      }
    });
  }
}

}  // namespace
}  // namespace sorn::draw
