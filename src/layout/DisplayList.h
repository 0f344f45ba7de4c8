#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "layout/Color.h"
#include "layout/Geometry.h"
#include "layout/HitMap.h"
#include "layout/RoundedCorners.h"
#include "layout/Text.h"

// What a campaign looks like, as a flat list of drawing commands in points. Whoever executes it needs no
// document and no layout; rectangles go to whole pixels there (`onPixels`), since the list knows no scale.
namespace sorn::layout {

// A rectangle with corners. The radii are limited when the path is made.
struct Shape {
  Rect rect;
  RoundedCorners corners;

  bool operator==(const Shape&) const = default;
};

// Colours evenly spread from the first point (or the centre) to the last; beyond, the outer ones go on. At
// least two colours.
struct LinearGradient {
  Point from;
  Point to;
  std::vector<Color> colors;

  bool operator==(const LinearGradient&) const = default;
};

struct RadialGradient {
  Point center;
  double radius = 0;
  std::vector<Color> colors;

  bool operator==(const RadialGradient&) const = default;
};

using Paint = std::variant<Color, LinearGradient, RadialGradient>;

struct FillShape {
  Shape shape;
  Paint paint;
};

// A stroke that straddles the shape's path: butt caps, miter joins with limit 10.
struct StrokeShape {
  Shape shape;
  double width = 0;
  Color color;
};

// Everything up to the matching `EndClip` is cut to the shape, with antialiasing.
struct BeginClip {
  Shape shape;
};
struct EndClip {};

// Everything up to the matching `EndScroll` is cut to the area's viewport and moved up by its offset.
struct BeginScroll {
  std::size_t area = 0;  // index into `DisplayList::scrollAreas`
};
struct EndScroll {};

// The text in its rectangle, wrapped and cut as it was measured for `offered`; the lines are aligned among
// themselves within the rectangle's width.
struct DrawText {
  std::shared_ptr<PreparedText> text;
  Rect rect;
  Proposal offered;
};

// The picture in `slot`, or in its place the spinner or the placeholder, fitted into or filling the rectangle
// and cut to it.
struct DrawImage {
  std::size_t slot = 0;  // index into `DisplayList::images`
  Rect rect;
  documents::ImageContentMode contentMode = documents::ImageContentMode::fit;
};

// A soft shadow below the shape, which itself is not drawn. The radius is the standard deviation of its blur.
struct DrawShadow {
  Shape shape;
  Color color;
  double radius = 0;
};

// A straight line with round ends.
struct DrawLine {
  Point from;
  Point to;
  double width = 0;
  Color color;
};

using Command = std::variant<FillShape, StrokeShape, BeginClip, EndClip, BeginScroll, EndScroll, DrawText,
                             DrawImage, DrawShadow, DrawLine>;

// A picture that the list shows. Two views of one address are two slots.
struct ImageSlot {
  std::optional<std::string> url;  // absent: the document's text is no address
};

// A part that scrolls vertically.
struct ScrollArea {
  Rect viewport;
  double contentHeight = 0;
};

struct DisplayList {
  Size size;  // of the surface that it was made for
  std::vector<Command> commands;
  std::vector<ImageSlot> images;
  std::vector<ScrollArea> scrollAreas;
  HitMap hits;
};

}  // namespace sorn::layout
