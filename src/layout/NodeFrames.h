#pragma once

#include <memory>
#include <optional>

#include "documents/SornView.h"
#include "layout/LayoutItem.h"

// How the keys of a node that speak of sizes and places are read.
namespace sorn::layout {

// Where the content lies in the node's own frames.
Placement frameAlignment(const documents::SornView& node);

// Across a row or column: 0 for top or leading, 1 for bottom or trailing.
double childAlignment(const documents::SornView& node);

// The content in the ratio and the frames that the node asks for.
std::unique_ptr<LayoutItem> framed(std::unique_ptr<LayoutItem> content, const documents::SornView& node);

// Absent when there is no padding; a list of fewer than four numbers is a fault.
std::optional<Insets> paddingOf(const documents::SornView& node);

}  // namespace sorn::layout
