#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "sorn/platform/Bundle.h"
#include "sorn/platform/SecureStore.h"
#include "support/Logger.h"

namespace sorn::device {

// Secrets of this application by a key of the library's own. Synchronous; any thread.
class KeychainWrapper {
 public:
  KeychainWrapper(platform::SecureStore& store, const platform::Bundle& bundle, support::Logger& logger)
      : store_(store), bundle_(bundle), logger_(logger) {}

  // The item with the store's status. An application without an identifier has no items.
  platform::SecureStore::ReadResult read(std::string_view key) const;
  // Replaces the item, or removes it when there is no value. Gives the store's status.
  platform::SecureStore::Status save(std::string_view key, const std::optional<std::string>& value);

 private:
  std::optional<std::string> service(std::string_view key) const;

  platform::SecureStore& store_;
  const platform::Bundle& bundle_;
  support::Logger& logger_;
};

}  // namespace sorn::device
