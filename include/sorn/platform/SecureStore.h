#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace sorn::platform {

// A store for secrets, one item for each service name. Synchronous; any thread.
class SecureStore {
 public:
  using Status = std::int32_t;
  static constexpr Status success = 0;
  static constexpr Status duplicateItem = -25299;
  static constexpr Status itemNotFound = -25300;
  static constexpr Status ioFailure = -36;

  struct ReadResult {
    Status status = itemNotFound;
    std::optional<std::string> bytes;
  };

  virtual ~SecureStore() = default;

  virtual ReadResult read(std::string_view service) const = 0;
  // Refused with `duplicateItem` when the service has an item already.
  virtual Status add(std::string_view service, std::string_view bytes) = 0;
  virtual Status remove(std::string_view service) = 0;
};

}  // namespace sorn::platform
