#pragma once

namespace sorn::view {

// Places and sizes of what is seen. Lengths are in points; y grows downwards.

struct Point {
  double x = 0;
  double y = 0;

  bool operator==(const Point&) const = default;
};

struct Size {
  double width = 0;
  double height = 0;

  bool operator==(const Size&) const = default;
};

struct Rect {
  double x = 0;
  double y = 0;
  double width = 0;
  double height = 0;

  double maxX() const { return x + width; }
  double maxY() const { return y + height; }
  Point origin() const { return {x, y}; }
  Size size() const { return {width, height}; }
  bool contains(Point point) const {
    return point.x >= x && point.x < maxX() && point.y >= y && point.y < maxY();
  }
  Rect movedBy(double dx, double dy) const { return {x + dx, y + dy, width, height}; }

  bool operator==(const Rect&) const = default;
};

// Lengths at the four edges of a rectangle, towards its inside.
struct Insets {
  double leading = 0;
  double top = 0;
  double trailing = 0;
  double bottom = 0;

  bool operator==(const Insets&) const = default;
};

}  // namespace sorn::view
