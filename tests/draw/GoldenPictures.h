#pragma once

#include <filesystem>
#include <string>

#include "draw/Pixels.h"

namespace sorn::draw {

// The pixels of a PNG file; none when it can't be read.
Pixels readPicture(const std::filesystem::path& path);

// Empty when the picture looks like the golden one, but for what another version of the text rasteriser
// changes along edges; else what differs, and the picture lies beside the golden one, as NAME.actual.png.
std::string differenceFromGolden(const Pixels& pixels, const std::filesystem::path& golden);

}  // namespace sorn::draw
