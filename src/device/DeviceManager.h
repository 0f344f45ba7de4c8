#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "device/KeychainWrapper.h"
#include "documents/DeviceInfo.h"
#include "sorn/platform/Bundle.h"
#include "sorn/platform/DeviceFacts.h"
#include "support/Account.h"
#include "support/Logger.h"

namespace sorn::device {

// The facts of the device, the host application and the library, and the identifier of this installation.
// Any thread.
class DeviceManager {
 public:
  DeviceManager(const platform::DeviceFacts& facts, const platform::Bundle& bundle,
                const support::Account& account, KeychainWrapper& keychain, support::Logger& logger);

  // The facts of this moment; nothing is cached.
  documents::DeviceInfo deviceInfo();

  // The library's version text, "n/a" without one, and its integer form: major, minor, patch and pre-release
  // number two digits each, 1000 more for a release, negative for a pre-release that is no beta; 0 when the
  // text holds no version.
  const std::string& SDKVersion() const { return sdkVersion_; }
  std::int64_t extractedSDKVersion() const { return extractedSDKVersion_; }
  std::string applicationVersion() const;
  std::string systemVersion() const;
  // -1 unknown, 0 refused, 1 granted.
  int locationStatus() const;

  int backgroundRefreshStatus() const { return backgroundRefreshStatus_; }
  void setBackgroundRefreshStatus(int status) { backgroundRefreshStatus_ = status; }

  // The identifier is bound to the account: the application key, "::" and a random UUID. One that was made
  // here and that the secure store could not keep stays valid as long as this object. All are a fault before
  // the credentials are known.
  std::optional<std::string> readIdentifier();
  std::string makeIdentifier();
  std::string identifier();

 private:
  std::string applicationKey() const;
  std::optional<std::string> madeIdentifier() const;
  std::optional<std::string> advertisingIdentifier();

  const platform::DeviceFacts& facts_;
  const platform::Bundle& bundle_;
  const support::Account& account_;
  KeychainWrapper& keychain_;
  support::Logger& logger_;
  const std::string sdkVersion_;
  const std::int64_t extractedSDKVersion_;
  std::atomic<int> backgroundRefreshStatus_ = 0;
  std::mutex makingMutex_;  // so that two threads that find no identifier make one between them
  mutable std::mutex mutex_;
  // The application key and the identifier that was made for it last.
  std::pair<std::string, std::string> made_;
};

}  // namespace sorn::device
