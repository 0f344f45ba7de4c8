#include "sorn-config/Options.h"

#include <array>
#include <set>
#include <string_view>

#include "sorn-config/ConfigurationFile.h"

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

std::string faultOfWriting(const Options& options) {
  if (options.out.empty()) return "--out is missing";
  return faultOf({options.key, options.secret, options.mode, options.environment});
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
