#pragma once

// The command line of `sorn-emulator`.

#include <span>
#include <string>

#include "sorn-emulator/Emulator.h"

namespace sorn::emulator {

struct Arguments {
  Options options;
  bool wantsHelp = false;
};

// The text that --help prints.
std::string usage();

// Throws std::invalid_argument with a sentence for the user.
Arguments parseArguments(std::span<char* const> words);

}  // namespace sorn::emulator
