#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "sorn-campaign/Source.h"

namespace sorn::tool {

// Something to say about one value of a campaign file.
struct Finding {
  // A fault makes the library refuse the file or stop at drawing; a note tells what is never selected.
  enum class Weight : std::uint8_t { fault, note };

  Weight weight = Weight::fault;
  LineColumn place;
  std::string path;
  std::string cause;

  bool operator==(const Finding&) const = default;
};

// Everything about the text of a campaign file, in the order of its bytes.
std::vector<Finding> validate(std::string_view text);

}  // namespace sorn::tool
