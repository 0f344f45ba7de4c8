#pragma once

#include <string_view>
#include <tuple>

#include "documents/Description.h"
#include "documents/SornView.h"

// The tables of the layout document. Texts of enumerations stand in the order of the enumerators.
namespace sorn::documents {

template <>
struct Description<SornViewType> {
  static constexpr auto texts = documents::texts("row", "column", "button", "text", "image");
};
template <>
struct Description<RootType> {
  static constexpr auto texts = documents::texts("fullscreen", "dialog", "top", "bottom");
};
template <>
struct Description<Alignment> {
  static constexpr auto texts =
      documents::texts("top", "centerVertically", "bottom", "start", "centerHorizontally", "end");
};
template <>
struct Description<Arrangement> {
  static constexpr auto texts = documents::texts("start", "end", "top", "bottom", "center", "spaceEvenly",
                                                 "spaceBetween", "spaceAround");
};
template <>
struct Description<BackgroundType> {
  static constexpr auto texts = documents::texts("image", "color", "gradient");
};
template <>
struct Description<GradientType> {
  static constexpr auto texts = documents::texts("linear", "vertical", "horizontal", "sweep", "radial");
};
template <>
struct Description<TileMode> {
  static constexpr auto texts = documents::texts("clamp", "repeated", "mirror");
};
template <>
struct Description<ImageContentMode> {
  static constexpr auto texts = documents::texts("fit", "crop");
};
template <>
struct Description<FontStyle> {
  static constexpr auto texts = documents::texts("normal", "italic");
};
template <>
struct Description<FontWeight> {
  static constexpr auto texts = documents::texts("thin", "extraLight", "light", "normal", "medium",
                                                 "semiBold", "bold", "extraBold", "black");
};
template <>
struct Description<FontFamily> {
  static constexpr auto texts = documents::texts("default", "sansSerif", "serif", "monospace", "cursive");
};
template <>
struct Description<TextDecoration> {
  static constexpr auto texts = documents::texts("none", "underline", "lineThrough");
};
template <>
struct Description<TextAlign> {
  static constexpr auto texts = documents::texts("left", "right", "center", "justify", "start", "end");
};
template <>
struct Description<TextOverflow> {
  static constexpr auto texts = documents::texts("clip", "ellipsis", "visible");
};
template <>
struct Description<ButtonAction::Type> {
  static constexpr auto texts =
      documents::texts("url", "deeplink", "no_action", "app_review", "push_prompt", "custom");
};

template <>
struct Description<GradientData> {
  using R = GradientData;
  static constexpr std::string_view name = "GradientData";
  static constexpr auto fields =
      std::tuple{required("gradientColors", &R::gradientColors, "Colours, evenly spread, in order."),
                 required("gradientType", &R::gradientType, "Form of the gradient."),
                 required("tileMode", &R::tileMode, "No effect on drawing.")};
};

template <>
struct Description<ImageData> {
  using R = ImageData;
  static constexpr std::string_view name = "ImageData";
  static constexpr auto fields =
      std::tuple{required("url", &R::url, "Address of the image."),
                 optional("contentDescription", &R::contentDescription, "No effect on drawing."),
                 optional("alpha", &R::alpha, "No effect on drawing."),
                 optional("contentMode", &R::contentMode, "How the image fills its frame; fit when absent.")};
};

template <>
struct Description<Background> {
  using R = Background;
  static constexpr std::string_view name = "Background";
  static constexpr auto fields =
      std::tuple{required("backgroundType", &R::backgroundType, "Which of the other keys is drawn."),
                 optional("color", &R::color, "Hexadecimal RGB, RRGGBB or RRGGBBAA; a border's stroke."),
                 optional("gradientData", &R::gradientData, "Of a gradient."),
                 optional("imageData", &R::imageData, "Of an image.")};
};

template <>
struct Description<TextData> {
  using R = TextData;
  static constexpr std::string_view name = "TextData";
  static constexpr auto fields = std::tuple{
      required("text", &R::text, "The text to show."),
      optional("color", &R::color, "Hexadecimal RGB, RRGGBB or RRGGBBAA."),
      optional("fontSize", &R::fontSize, "Points; 14 when absent."),
      optional("fontStyle", &R::fontStyle, "Slant."),
      optional("fontWeight", &R::fontWeight, "Weight; normal when absent."),
      optional("fontFamily", &R::fontFamily, "No effect on drawing."),
      optional("letterSpacing", &R::letterSpacing, "No effect on drawing."),
      optional("textDecoration", &R::textDecoration, "No effect on drawing."),
      optional("textAlign", &R::textAlign, "Alignment of the lines, and of the text in its frame."),
      optional("lineHeight", &R::lineHeight, "No effect on drawing."),
      optional("overflow", &R::overflow, "Where a too long text is cut; ellipsis cuts in the middle."),
      required("softWrap", &R::softWrap, "No effect on drawing, but it must be there."),
      optional("maxLines", &R::maxLines, "Bound on the number of lines; 0 for none.")};
};

template <>
struct Description<ButtonActionValue> {
  using R = ButtonActionValue;
  static constexpr std::string_view name = "ButtonActionValue";
  static constexpr auto fields =
      std::tuple{optional("android", &R::android, "Not read."),
                 optional("ios", &R::ios, "An address for url and deeplink, a JSON object for custom.")};
};

template <>
struct Description<ButtonAction> {
  using R = ButtonAction;
  static constexpr std::string_view name = "ButtonAction";
  static constexpr auto fields =
      std::tuple{required("type", &R::type, "Kind of action."),
                 required("eventName", &R::eventName, "Name of the event that a tap logs."),
                 required("value", &R::value, "Argument of the action.")};
};

template <>
struct Description<ButtonData> {
  using R = ButtonData;
  static constexpr std::string_view name = "ButtonData";
  static constexpr auto fields =
      std::tuple{optional("border", &R::border, "Width of the border, in points."),
                 optional("borderBackground", &R::borderBackground, "Its color is the border's."),
                 optional("action", &R::action, "What a tap does; nothing when absent.")};
};

template <>
struct Description<SornView> {
  using R = SornView;
  static constexpr std::string_view name = "SornView";
  static constexpr auto fields =
      std::tuple{required("viewType", &R::viewType, "Kind of node."),
                 optional("rootType", &R::rootType, "Overwritten in the root by the campaign's header."),
                 optional("background", &R::background, "What is drawn behind the node."),
                 required("children", &R::children, "Nodes inside; empty for a leaf."),
                 optional("isSpacer", &R::isSpacer, "The node takes the free space."),
                 optional("isContent", &R::isContent, "No effect on drawing."),
                 optional("padding", &R::padding, "Leading, top, trailing, bottom, in points: all four."),
                 optional("width", &R::width, "Points; -1 fills what is offered."),
                 optional("maxWidth", &R::maxWidth, "Upper bound of the width, in points."),
                 optional("height", &R::height, "Points; -1 fills what is offered."),
                 optional("maxHeight", &R::maxHeight, "Upper bound of the height, in points."),
                 optional("imageData", &R::imageData, "Of a node of kind image."),
                 optional("textData", &R::textData, "Text and its styling, for this node and those inside."),
                 optional("buttonData", &R::buttonData, "Of a node of kind button."),
                 optional("aspectRatio", &R::aspectRatio, "Width divided by height."),
                 optional("elevation", &R::elevation, "No effect on drawing."),
                 optional("cornerRadius", &R::cornerRadius,
                          "Top left, top right, bottom right, bottom left, in points."),
                 optional("alignment", &R::alignment, "Placement of children across the stack's direction."),
                 optional("arrangement", &R::arrangement, "Placement within the node's own frame."),
                 optional("spacing", &R::spacing, "No effect on drawing."),
                 optional("isSafe", &R::isSafe, "A full-screen root scrolls.")};
};

}  // namespace sorn::documents
