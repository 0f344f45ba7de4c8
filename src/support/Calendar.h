#pragma once

#include <cstdint>

#include "sorn/Value.h"

namespace sorn::support {

// The largest number of calendar days that added to `from`, at the same time of day in the local zone, does
// not pass `to`. So a day may have 23 or 25 hours. Negative when `to` lies at least a day earlier.
std::int64_t wholeDaysBetween(Date from, Date to);

}  // namespace sorn::support
