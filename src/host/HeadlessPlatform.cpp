#include "host/HeadlessPlatform.h"

#include <memory>
#include <utility>

#include "host/HeadlessApplication.h"
#include "host/HostBundle.h"
#include "host/LinuxDeviceFacts.h"
#include "host/MainQueueThread.h"
#include "host/Syslog.h"
#include "host/SystemClock.h"
#include "http/CurlTransport.h"
#include "settings/DefaultsFile.h"
#include "settings/SecureStoreFile.h"

namespace sorn::host {

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
  fill<settings::DefaultsFile>(platform.userDefaults, directories.defaultsFile());
  fill<settings::SecureStoreFile>(platform.secureStore, directories.secureStoreFile());
  fill<http::CurlTransport>(platform.httpTransport);
  fill<LinuxDeviceFacts>(platform.deviceFacts);
  fill<HeadlessApplication>(platform.application, platform.mainQueue);
  fill<Syslog>(platform.systemLog, platform.deployment.logLabel);
}

}  // namespace sorn::host
