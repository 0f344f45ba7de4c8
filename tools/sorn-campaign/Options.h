#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "sorn-campaign/Subcommand.h"

namespace sorn::tool {

// What became of an option: nobody knows it, its value makes no sense, or it was taken, alone or with a
// value.
enum class Taken { unknown, refused, alone, withValue };

// Offered each option with the word behind it (empty behind the last).
using OptionHandler = std::function<Taken(std::string_view option, std::string_view value)>;

// Reads the name of one file and options that begin with "--", in any order. What is wrong, or nothing.
std::optional<std::string> readOptions(Arguments arguments, std::string& file, const OptionHandler& handler);

// Says on standard error what is wrong with the arguments; the exit status.
int refuse(const std::string& reason);

}  // namespace sorn::tool
