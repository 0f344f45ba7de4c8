#pragma once

#include <optional>
#include <string_view>

#include "layout/Geometry.h"

namespace sorn::tool {

// A whole text that is a number of at least 0 and less than a million; absent otherwise.
std::optional<double> readLength(std::string_view text);

// "WIDTHxHEIGHT", two such lengths.
std::optional<layout::Size> readSize(std::string_view text);

}  // namespace sorn::tool
