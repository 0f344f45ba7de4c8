#include "sorn-config/Options.h"

#include <array>
#include <set>
#include <string_view>
#include <utility>

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

support::Result<Options, std::string> parseOptions(std::span<const char* const> arguments) {
  const auto fail = [](std::string reason) { return support::Failure(std::move(reason)); };
  Options options;
  std::set<std::string_view> seen;
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    const std::string_view name = arguments[i];
    if (name == "--help") {
      options.wantsHelp = true;
      return options;
    }
    if (!seen.insert(name).second) return fail(std::string(name) + " is given twice");
    if (name == "--binary") {
      options.isBinary = true;
      continue;
    }
    std::string Options::*const value = valueOf(name);
    if (!value) return fail("unknown option " + std::string(name));
    if (++i == arguments.size()) return fail(std::string(name) + " needs a value");
    options.*value = arguments[i];
  }
  if (seen.contains("--show")) {
    if (seen.size() > 1) return fail("--show stands alone");
    if (options.show.empty()) return fail("--show needs a file");
    return options;
  }
  std::string fault = faultOfWriting(options);
  if (!fault.empty()) return fail(std::move(fault));
  return options;
}

}  // namespace sorn::config
