#include "support/Fault.h"

#include <cstdio>
#include <cstdlib>
#include <string>

namespace sorn::support {

void fault(std::string_view expected) {
  // One write, so that lines of other threads don't come between.
  const std::string line = "Fatal error: " + std::string(expected) + "\n";
  std::fwrite(line.data(), 1, line.size(), stderr);
  std::fflush(stderr);
  std::abort();
}

}  // namespace sorn::support
