#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "sorn/Value.h"

namespace sorn::console {

// One line of input: the command and its arguments.
struct CommandLine {
  std::string command;
  std::vector<std::string> arguments;
};

// Splits at blanks. An argument that begins with a quote is a JSON string; one that begins with a brace or a
// bracket runs to the end of the line. Throws std::invalid_argument for a broken JSON string.
CommandLine parseCommandLine(std::string_view line);

// The value of a JSON argument, {"$date": seconds} read as a date. Throws std::invalid_argument when the text
// is no JSON of the wanted kind.
Dictionary parseDictionary(const std::string& json);
List parseList(const std::string& json);

}  // namespace sorn::console
