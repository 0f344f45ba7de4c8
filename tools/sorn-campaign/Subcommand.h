#pragma once

#include <span>

namespace sorn::tool {

// Exit statuses of the tool.
inline constexpr int done = 0;
inline constexpr int failed = 1;
inline constexpr int badUsage = 2;

using Arguments = std::span<const char* const>;

// One subcommand; the arguments are those behind its name, the result the exit status.
struct Subcommand {
  const char* name;
  const char* arguments;  // for the usage
  int (*run)(Arguments arguments);
};

// Each in a file of its own.
int runValidate(Arguments arguments);
int runExplain(Arguments arguments);
int runSchema(Arguments arguments);
int runLayout(Arguments arguments);
int runRender(Arguments arguments);

}  // namespace sorn::tool
