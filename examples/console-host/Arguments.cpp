#include "Arguments.h"

#include <cstdio>
#include <string_view>
#include <system_error>
#include <vector>

namespace sorn::console {

namespace {

std::optional<Arguments> refuse(const std::string& reason) {
  std::fprintf(stderr,
               "console-host: %s\n"
               "usage: console-host CONFIG.plist [--data DIR] [--storage ORIGIN] [--library-version TEXT] "
               "[--manual-clock]\n",
               reason.c_str());
  return std::nullopt;
}

// Empty when the word names no file.
std::filesystem::path absolutePath(std::string_view word) {
  std::error_code error;
  auto path = word.empty() ? std::filesystem::path() : std::filesystem::absolute(word, error);
  return error ? std::filesystem::path() : path;
}

}  // namespace

std::optional<Arguments> parseArguments(int count, char** values) {
  Arguments arguments;
  const std::vector<std::string_view> words(values + 1, values + count);
  for (std::size_t at = 0; at < words.size(); ++at) {
    const std::string_view word = words[at];
    if (word == "--manual-clock") {
      arguments.manualClock = true;
    } else if (word == "--data" || word == "--storage" || word == "--library-version") {
      if (++at == words.size()) return refuse(std::string(word) + " needs a value");
      const std::string value(words[at]);
      if (word == "--data") arguments.data = absolutePath(value);
      if (arguments.data && arguments.data->empty()) return refuse("--data needs a folder");
      if (word == "--storage") arguments.storage = value;
      if (word == "--library-version") arguments.libraryVersion = value;
    } else if (word.starts_with("--") || !arguments.configuration.empty()) {
      return refuse("unexpected \"" + std::string(word) + "\"");
    } else {
      arguments.configuration = absolutePath(word);
      if (arguments.configuration.empty()) return refuse("\"" + std::string(word) + "\" is no file");
    }
  }
  if (arguments.configuration.empty()) return refuse("no configuration file is named");
  return arguments;
}

}  // namespace sorn::console
