#include "linux/HeadlessPlatform.h"

#include <memory>
#include <utility>

#include "linux/CurlTransport.h"
#include "linux/DefaultsFile.h"
#include "linux/HeadlessApplication.h"
#include "linux/HostBundle.h"
#include "linux/LinuxDeviceFacts.h"
#include "linux/MainQueueThread.h"
#include "linux/SecureStoreFile.h"
#include "linux/Syslog.h"
#include "linux/SystemClock.h"

namespace sorn::headless {

namespace {

template <class Adapter, class Port, class... Arguments>
void fill(std::shared_ptr<Port>& port, Arguments&&... arguments) {
  if (!port) port = std::make_shared<Adapter>(std::forward<Arguments>(arguments)...);
}

}  // namespace

void fillHeadless(platform::Platform& platform, const XdgHomes& homes) {
  fill<SystemClock>(platform.clock);
  fill<MainQueueThread>(platform.mainQueue);
  fill<HostBundle>(platform.bundle);
  const XdgDirectories directories(homes, platform.bundle->identifier().value_or(""));
  fill<XdgDirectories>(platform.directories, directories);
  fill<DefaultsFile>(platform.userDefaults, directories.defaultsFile());
  fill<SecureStoreFile>(platform.secureStore, directories.secureStoreFile());
  fill<CurlTransport>(platform.httpTransport);
  fill<LinuxDeviceFacts>(platform.deviceFacts);
  fill<HeadlessApplication>(platform.application, platform.mainQueue);
  fill<Syslog>(platform.systemLog, platform.deployment.logLabel);
}

}  // namespace sorn::headless
