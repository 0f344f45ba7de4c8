// sorn-campaign checks campaign files and shows what the library makes of them. Exit status: 0 done, 1 a
// fault or a failure, 2 bad usage.

#include <cstdio>
#include <string_view>

#include "sorn-campaign/Subcommand.h"

namespace {

using sorn::tool::Subcommand;

constexpr Subcommand subcommands[] = {
    {"validate", "FILE...", sorn::tool::runValidate},
    {"explain",
     "FILE (--event ACTION [--info JSON] | --trigger JSON) [--now S] [--state JSON] [--settings N]",
     sorn::tool::runExplain},
    {"schema", "", sorn::tool::runSchema},
#ifdef SORN_HAS_DRAWING
    {"layout", "FILE [--id ID] --size WxH [--metric fixed:10x20] [--image WxH]", sorn::tool::runLayout},
    {"render", "FILE --out PNG [--id ID] [--size WxH] [--scale N] [--font FAMILY] [--watch]",
     sorn::tool::runRender},
#endif
};

void printUsage(std::FILE* out) {
  const char* lead = "usage:";
  for (const Subcommand& subcommand : subcommands) {
    const char* blank = subcommand.arguments[0] == '\0' ? "" : " ";
    std::fprintf(out, "%6s sorn-campaign %s%s%s\n", lead, subcommand.name, blank, subcommand.arguments);
    lead = "";
  }
}

int run(int count, char** arguments) {
  const std::string_view name = count > 1 ? arguments[1] : "";
  if (name == "--help") {
    printUsage(stdout);
    return sorn::tool::done;
  }
  for (const Subcommand& subcommand : subcommands) {
    if (name != subcommand.name) continue;
    const int status = subcommand.run({arguments + 2, static_cast<std::size_t>(count - 2)});
    if (status == sorn::tool::badUsage) printUsage(stderr);
    return status;
  }
  if (!name.empty()) std::fprintf(stderr, "sorn-campaign: unknown subcommand %s\n", arguments[1]);
  printUsage(stderr);
  return sorn::tool::badUsage;
}

}  // namespace

int main(int count, char** arguments) {
  const int status = run(count, arguments);
  if (std::fflush(stdout) == 0 && !std::ferror(stdout)) return status;
  std::fputs("sorn-campaign: standard output takes no more\n", stderr);
  return sorn::tool::failed;
}
