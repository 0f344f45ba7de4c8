#pragma once

#include <optional>
#include <span>
#include <string>

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

// Reads the arguments behind the program's name. Absent when they make no sense; the reason goes to `error`.
std::optional<Options> parseOptions(std::span<const char* const> arguments, std::string& error);

}  // namespace sorn::config
