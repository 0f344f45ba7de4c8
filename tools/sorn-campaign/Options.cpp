#include "sorn-campaign/Options.h"

#include <cstdio>

namespace sorn::tool {

std::optional<std::string> readOptions(Arguments arguments, std::string& file, const OptionHandler& handler) {
  for (std::size_t at = 0; at < arguments.size(); ++at) {
    const std::string_view word = arguments[at];
    if (!word.starts_with("--")) {
      if (!file.empty()) return "one file, please";
      file = word;
      continue;
    }
    const bool isLast = at + 1 == arguments.size();
    const std::string_view value = isLast ? "" : arguments[at + 1];
    switch (handler(word, value)) {
      case Taken::unknown:
        return "unknown option " + std::string(word);
      case Taken::refused:
        if (isLast) return std::string(word) + " needs a value";
        return "no value for " + std::string(word) + ": " + std::string(value);
      case Taken::alone:
        break;
      case Taken::withValue:
        if (isLast) return std::string(word) + " needs a value";
        ++at;
    }
  }
  if (file.empty()) return "no file is named";
  return std::nullopt;
}

int refuse(const std::string& reason) {
  std::fprintf(stderr, "sorn-campaign: %s\n", reason.c_str());
  return badUsage;
}

}  // namespace sorn::tool
