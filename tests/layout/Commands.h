#pragma once

#include <cmath>
#include <sstream>
#include <string>

#include "layout/DisplayList.h"

// A display list as text, a command a line.
namespace sorn::layout::testing {

class CommandText {
 public:
  static std::string of(const DisplayList& list) {
    CommandText text;
    for (const Command& command : list.commands) std::visit(text, command);
    return text.out_.str();
  }

  void operator()(const FillShape& fill) {
    out_ << "fill " << shape(fill.shape) << ' ';
    if (const auto* color = std::get_if<Color>(&fill.paint)) out_ << name(*color);
    if (const auto* linear = std::get_if<LinearGradient>(&fill.paint))
      out_ << "linear " << point(linear->from) << " to " << point(linear->to) << names(linear->colors);
    if (const auto* radial = std::get_if<RadialGradient>(&fill.paint))
      out_ << "radial " << point(radial->center) << " " << radial->radius << names(radial->colors);
    out_ << '\n';
  }
  void operator()(const StrokeShape& stroke) {
    out_ << "stroke " << shape(stroke.shape) << ' ' << stroke.width << ' ' << name(stroke.color) << '\n';
  }
  void operator()(const BeginClip& clip) { out_ << "clip " << shape(clip.shape) << '\n'; }
  void operator()(const EndClip&) { out_ << "end clip\n"; }
  void operator()(const BeginScroll& scroll) { out_ << "scroll " << scroll.area << '\n'; }
  void operator()(const EndScroll&) { out_ << "end scroll\n"; }
  void operator()(const DrawText& text) {
    out_ << "text " << rect(text.rect) << ' ' << text.text->run().text << '\n';
  }
  void operator()(const DrawImage& image) {
    const bool isCrop = image.contentMode == documents::ImageContentMode::crop;
    out_ << "image " << image.slot << ' ' << rect(image.rect) << (isCrop ? " crop" : " fit") << '\n';
  }
  void operator()(const DrawShadow& shadow) { out_ << "shadow " << shape(shadow.shape) << '\n'; }
  void operator()(const DrawLine& line) {
    out_ << "line " << point(line.from) << " to " << point(line.to) << '\n';
  }

 private:
  static std::string point(Point at) { return (std::ostringstream() << at.x << ',' << at.y).str(); }
  static std::string rect(const Rect& at) {
    return (std::ostringstream() << at.x << ' ' << at.y << ' ' << at.width << ' ' << at.height).str();
  }
  static std::string shape(const Shape& at) {
    const auto& [tl, tr, bl, br] = at.corners;
    if (at.corners == RoundedCorners()) return rect(at.rect);
    return rect(at.rect) + " corners " + rect({tl, tr, br, bl});
  }
  static std::string name(const Color& color) {
    std::string out = "#";
    for (const double channel : {color.red, color.green, color.blue, color.alpha})
      out += "0123456789abcdef"[std::lround(channel * 15)];
    return out;
  }
  static std::string names(const std::vector<Color>& colors) {
    std::string out;
    for (const Color& color : colors) out += " " + name(color);
    return out;
  }

  std::ostringstream out_;
};

}  // namespace sorn::layout::testing
