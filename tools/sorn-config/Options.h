#pragma once

#include <span>
#include <string>

#include "support/Result.h"

namespace sorn::config {

// What the command line asks for: a file to write, or one to show.
struct Options {
  std::string show;  // empty when a file is to be written

  std::string key;
  std::string secret;
  std::string mode;
  std::string environment;
  std::string out;
  bool isBinary = false;
  bool wantsHelp = false;
};

inline constexpr const char* usage =
    "usage: sorn-config --key K --secret S --mode development|production --environment URL --out FILE "
    "[--binary]\n"
    "       sorn-config --show FILE\n";

// Reads the arguments behind the program's name. Fails, with the reason, when they make no sense.
support::Result<Options, std::string> parseOptions(std::span<const char* const> arguments);

}  // namespace sorn::config
