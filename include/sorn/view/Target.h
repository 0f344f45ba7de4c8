#pragma once

#include <cstdint>
#include <string>

#include "sorn/view/Campaign.h"
#include "sorn/view/Geometry.h"

namespace sorn::view {

// What a tap at a place means, and where that place is in the container.
struct Target {
  enum class Kind : std::uint8_t {
    nothing,
    outside,  // around the campaign
    content,  // the campaign itself, which keeps the tap from what is behind it
    button,
    closeButton
  };

  Kind kind = Kind::nothing;
  Rect frame;
  const Node* node = nullptr;  // the button's, of the campaign that the scene was made with
  std::string path;            // of that node, such as "content.children[0]"
};

}  // namespace sorn::view
