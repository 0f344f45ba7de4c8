#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "documents/OptionalBox.h"
#include "sorn/Value.h"
#include "support/Url.h"
#include "support/Uuid.h"

namespace sorn::support {
class Logger;
}

// The visible content of a campaign: a tree of nodes, as plain values. Lengths are in points, colours are
// hexadecimal texts. Nothing has a default here: what an absent value means is decided where it is drawn.
// Fields bear the names of their keys. What is "carried" has no effect on drawing.
namespace sorn::documents {

enum class SornViewType : std::uint8_t { row, column, button, text, image };
enum class RootType : std::uint8_t { fullscreen, dialog, top, bottom };
enum class Alignment : std::uint8_t { top, centerVertically, bottom, start, centerHorizontally, end };
enum class Arrangement : std::uint8_t {
  start,
  end,
  top,
  bottom,
  center,
  spaceEvenly,
  spaceBetween,
  spaceAround
};
enum class BackgroundType : std::uint8_t { image, color, gradient };
enum class GradientType : std::uint8_t { linear, vertical, horizontal, sweep, radial };
enum class TileMode : std::uint8_t { clamp, repeated, mirror };
enum class ImageContentMode : std::uint8_t { fit, crop };
enum class FontStyle : std::uint8_t { normal, italic };
enum class FontWeight : std::uint8_t {
  thin,
  extraLight,
  light,
  normal,
  medium,
  semiBold,
  bold,
  extraBold,
  black
};
enum class FontFamily : std::uint8_t { default_, sansSerif, serif, monospace, cursive };
enum class TextDecoration : std::uint8_t { none, underline, lineThrough };
enum class TextAlign : std::uint8_t { left, right, center, justify, start, end };
enum class TextOverflow : std::uint8_t { clip, ellipsis, visible };

struct GradientData {
  std::vector<std::string> gradientColors;  // evenly spread, in order
  GradientType gradientType = {};
  TileMode tileMode = {};  // carried

  bool operator==(const GradientData&) const = default;
};

struct ImageData {
  std::string url;
  std::optional<std::string> contentDescription;  // carried
  std::optional<double> alpha;                    // carried
  std::optional<ImageContentMode> contentMode;

  bool operator==(const ImageData&) const = default;
};

struct Background {
  BackgroundType backgroundType = {};
  std::optional<std::string> color;  // also the stroke of a button's border
  std::optional<GradientData> gradientData;
  std::optional<ImageData> imageData;

  bool operator==(const Background&) const = default;
};

struct TextData {
  std::string text;
  std::optional<std::string> color;
  std::optional<double> fontSize;
  std::optional<FontStyle> fontStyle;
  std::optional<FontWeight> fontWeight;
  std::optional<FontFamily> fontFamily;                       // carried
  std::optional<double> letterSpacing;                        // carried
  std::optional<std::vector<TextDecoration>> textDecoration;  // carried
  std::optional<TextAlign> textAlign;
  std::optional<double> lineHeight;  // carried
  std::optional<TextOverflow> overflow;
  bool softWrap = false;                 // carried, and yet required
  std::optional<std::int64_t> maxLines;  // 0: no bound

  bool operator==(const TextData&) const = default;
};

struct ButtonActionValue {
  std::optional<std::string> android;  // carried
  std::optional<std::string> ios;      // an address, or an object of JSON for `custom`

  bool operator==(const ButtonActionValue&) const = default;
};

// What a tap on a button does.
struct ButtonAction {
  enum class Type : std::uint8_t { url, deeplink, no_action, app_review, push_prompt, custom };

  Type type = {};
  std::string eventName;  // logged at the tap
  ButtonActionValue value;

  // An action with its argument understood.
  struct OpenUrl {
    support::Url url;
    bool operator==(const OpenUrl&) const = default;
  };
  struct OpenDeeplink {
    support::Url url;
    bool operator==(const OpenDeeplink&) const = default;
  };
  struct Custom {
    Dictionary dictionary;
    bool operator==(const Custom&) const = default;
  };
  struct NoAction {
    bool operator==(const NoAction&) const = default;
  };
  struct AppReview {
    bool operator==(const AppReview&) const = default;
  };
  struct PushPrompt {
    bool operator==(const PushPrompt&) const = default;
  };
  using QualifiedAction = std::variant<OpenUrl, OpenDeeplink, Custom, NoAction, AppReview, PushPrompt>;

  // Absent, with a line at information level, when the argument is missing or makes no sense.
  std::optional<QualifiedAction> qualifiedAction(support::Logger& logger) const;

  // "Type: ", "Name: " and "Value: " on a line each; for the log and for notifications.
  std::string description() const;

  bool operator==(const ButtonAction&) const = default;
};

struct ButtonData {
  std::optional<double> border;
  std::optional<Background> borderBackground;
  std::optional<ButtonAction> action;

  bool operator==(const ButtonData&) const = default;
};

// One node; the parts that most nodes lack are boxed, so that a document of many nodes stays compact. Two
// decodings of one document give unequal nodes, since each gets an `id` of its own.
struct SornView {
  SornViewType viewType = {};
  std::optional<RootType> rootType;  // set at the presentation
  OptionalBox<Background> background;
  std::vector<SornView> children;
  std::optional<bool> isSpacer;
  std::optional<bool> isContent;               // carried
  std::optional<std::vector<double>> padding;  // leading, top, trailing, bottom
  std::optional<double> width;                 // -1: what is offered
  std::optional<double> maxWidth;
  std::optional<double> height;  // -1: what is offered
  std::optional<double> maxHeight;
  OptionalBox<ImageData> imageData;
  OptionalBox<TextData> textData;
  OptionalBox<ButtonData> buttonData;
  std::optional<double> aspectRatio;                // width divided by height
  std::optional<double> elevation;                  // carried
  std::optional<std::vector<double>> cornerRadius;  // top left, top right, bottom right, bottom left
  std::optional<Alignment> alignment;
  std::optional<Arrangement> arrangement;
  std::optional<double> spacing;  // carried
  std::optional<bool> isSafe;

  // The node's identity among its siblings, fresh in every new node and never part of the document.
  std::string id = support::makeUuid();

  bool operator==(const SornView&) const = default;
};

}  // namespace sorn::documents
