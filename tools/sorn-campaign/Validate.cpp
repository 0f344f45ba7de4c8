#include <cstdio>
#include <string>

#include "sorn-campaign/Subcommand.h"
#include "sorn-campaign/Validation.h"
#include "support/BoundedFile.h"
#include "support/Gzip.h"

namespace sorn::tool {

namespace {

int validateFile(const char* file) {
  const auto text = support::readBounded(file, support::unpackedLimit);
  if (!text) {
    std::fprintf(stderr, "sorn-campaign: %s: %s\n", file, text.error().message().c_str());
    return failed;
  }
  int status = done;
  for (const Finding& finding : validate(*text)) {
    if (finding.weight == Finding::Weight::fault) status = failed;
    std::printf("%s:%zu:%zu: %s: %s\n", file, finding.place.line, finding.place.column, finding.path.c_str(),
                finding.cause.c_str());
  }
  return status;
}

}  // namespace

int runValidate(Arguments arguments) {
  if (arguments.empty()) return badUsage;
  int status = done;
  for (const char* const file : arguments) {
    if (file[0] == '-') {
      std::fprintf(stderr, "sorn-campaign: unknown option %s\n", file);
      return badUsage;
    }
  }
  for (const char* const file : arguments) {
    if (validateFile(file) != done) status = failed;
  }
  return status;
}

}  // namespace sorn::tool
