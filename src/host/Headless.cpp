#include "sorn/platform/Headless.h"

#include "host/HeadlessPlatform.h"
#include "host/HostBundle.h"

namespace sorn::platform {

Platform headless(const HeadlessOptions& options) {
  auto bundle = std::make_shared<sorn::host::HostBundle>();
  if (options.identifier) bundle->setIdentifier(options.identifier);
  bundle->setVersion(options.version);
  bundle->setBuild(options.build);
  for (const std::filesystem::path& folder : options.resourceDirectories)
    bundle->addResourceDirectory(folder);
  Platform platform;
  platform.bundle = std::move(bundle);
  sorn::host::fillHeadless(platform, options.dataDirectory
                                         ? sorn::host::XdgHomes::below(*options.dataDirectory)
                                         : sorn::host::XdgHomes::fromEnvironment());
  return platform;
}

}  // namespace sorn::platform
