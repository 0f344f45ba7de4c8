#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <type_traits>

#include "device/KeychainWrapper.h"
#include "documents/Configuration.h"
#include "support/Account.h"
#include "support/Logger.h"
#include "support/json/Json.h"

namespace sorn::server {

// The account's configuration: kept in the secure store, read through tests and accessors with a default for
// the time in which none is stored. Any thread.
class ConfigurationStore {
 public:
  ConfigurationStore(const support::Account& account, device::KeychainWrapper& keychain,
                     support::Logger& logger)
      : account_(account), keychain_(keychain), logger_(logger) {}

  std::shared_ptr<const documents::Configuration> configuration();
  // Stores what the service said; absence removes what is stored.
  void setConfiguration(const std::optional<documents::Configuration>& configuration);
  // Takes the configuration from the answer to `save`. False, with everything as it was, when the answer has
  // none that can be decoded.
  bool takeFromAnswer(const std::optional<support::Node>& answer);

  bool isEnabled(bool documents::Features::*feature, bool byDefault);
  std::int64_t batchSize();
  double batchTimeout();  // seconds

 private:
  std::optional<std::string> key() const;
  std::shared_ptr<const documents::Configuration> readStored();
  template <class Read>
  auto stored(Read&& read) -> std::optional<std::invoke_result_t<Read, const documents::Configuration&>>;

  const support::Account& account_;
  device::KeychainWrapper& keychain_;
  support::Logger& logger_;

  // One change after another. The secure store flushes the disk, for which nobody who asks has to wait: the
  // fields below have a mutex of their own, which is never held while the secure store is at work.
  std::mutex writing_;

  std::mutex mutex_;
  std::uint64_t writes_ = 0;
  std::shared_ptr<const documents::Configuration> cached_;
  // The key under which nothing usable was found: events ask so often that the store is not read again.
  std::string absentUnder_;
};

}  // namespace sorn::server
