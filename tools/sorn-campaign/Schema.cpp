#include <cstdio>

#include "documents/JsonSchema.h"
#include "documents/SornInAppCampaignDescription.h"
#include "sorn-campaign/Subcommand.h"

namespace sorn::tool {

int runSchema(Arguments arguments) {
  if (!arguments.empty()) return badUsage;
  const std::string text = documents::SchemaWriter::schemaText<documents::Campaigns>("Campaigns of SornSDK");
  std::puts(text.c_str());
  return done;
}

}  // namespace sorn::tool
