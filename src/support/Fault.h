#pragma once

#include <string_view>

namespace sorn::support {

// Ends the process on what the design calls impossible: one line to standard error that says what was
// expected instead, then an abort. For programming errors and damaged configuration, never for what a server
// sends.
[[noreturn]] void fault(std::string_view expected);

}  // namespace sorn::support
