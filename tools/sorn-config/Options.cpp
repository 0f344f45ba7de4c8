#include "sorn-config/Options.h"

#include <array>
#include <set>
#include <string_view>

#include "support/ConfigurationKeys.h"
#include "support/Json.h"

namespace sorn::config {

namespace {

struct Option {
  std::string_view name;
  std::string Options::*value;
};

constexpr std::array<Option, 5> written{{{"--key", &Options::key},
                                         {"--secret", &Options::secret},
                                         {"--mode", &Options::mode},
                                         {"--environment", &Options::environment},
                                         {"--out", &Options::out}}};

std::string Options::*valueOf(std::string_view name) {
  if (name == "--show") return &Options::show;
  for (const Option& option : written) {
    if (option.name == name) return option.value;
  }
  return nullptr;
}

// A blank text would be refused by the library's start, and that only on the user's device.
bool isBlank(const std::string& text) { return text.find_first_not_of(" \t\r\n\v\f") == std::string::npos; }

std::string faultOfWriting(const Options& options) {
  for (const Option& option : written) {
    const std::string& value = options.*option.value;
    if (isBlank(value)) return std::string(option.name) + " is missing or blank";
    if (!support::isValidUtf8(value)) return std::string(option.name) + " is not valid UTF-8";
  }
  if (options.mode != support::developmentMode && options.mode != support::productionMode) {
    return "--mode must be development or production";
  }
  const bool isWeb =
      options.environment.starts_with("https://") || options.environment.starts_with("http://");
  return isWeb ? "" : "--environment must begin with https:// or http://";
}

}  // namespace

std::optional<Options> parseOptions(std::span<const char* const> arguments, std::string& error) {
  Options options;
  std::set<std::string_view> seen;
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    const std::string_view name = arguments[i];
    if (name == "--help") {
      options.wantsHelp = true;
      return options;
    }
    if (!seen.insert(name).second) {
      error = std::string(name) + " is given twice";
      return std::nullopt;
    }
    if (name == "--binary") {
      options.isBinary = true;
      continue;
    }
    std::string Options::*const value = valueOf(name);
    if (!value) {
      error = "unknown option " + std::string(name);
      return std::nullopt;
    }
    if (++i == arguments.size()) {
      error = std::string(name) + " needs a value";
      return std::nullopt;
    }
    options.*value = arguments[i];
  }
  if (seen.contains("--show")) {
    if (options.show.empty()) error = "--show needs a file";
    if (seen.size() > 1) error = "--show stands alone";
  } else {
    error = faultOfWriting(options);
  }
  return error.empty() ? std::optional(options) : std::nullopt;
}

}  // namespace sorn::config
