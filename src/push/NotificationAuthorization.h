#pragma once

#include <cstdint>
#include <optional>

#include "sync/Authorization.h"

namespace sorn::push {

// What the user allows, as it was last read from the system. Nobody reads it yet, so it is not known.
class NotificationAuthorization final : public sync::Authorization {
 public:
  std::optional<std::int64_t> authorizationStatus() const override { return std::nullopt; }
};

}  // namespace sorn::push
