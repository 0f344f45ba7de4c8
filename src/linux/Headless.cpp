#include "sorn/platform/Headless.h"

#include "linux/HeadlessPlatform.h"
#include "linux/HostBundle.h"

namespace sorn::platform {

Platform headless(const HeadlessOptions& options) {
  auto bundle = std::make_shared<sorn::headless::HostBundle>();
  if (options.identifier) bundle->setIdentifier(options.identifier);
  bundle->setVersion(options.version);
  bundle->setBuild(options.build);
  for (const std::filesystem::path& folder : options.resourceDirectories)
    bundle->addResourceDirectory(folder);
  Platform platform;
  platform.bundle = std::move(bundle);
  sorn::headless::fillHeadless(platform, options.dataDirectory
                                             ? sorn::headless::XdgHomes::below(*options.dataDirectory)
                                             : sorn::headless::XdgHomes::fromEnvironment());
  return platform;
}

}  // namespace sorn::platform
