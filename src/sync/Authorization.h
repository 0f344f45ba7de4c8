#pragma once

#include <cstdint>
#include <optional>

namespace sorn::sync {

// Whether the user allows notifications. Any thread.
class Authorization {
 public:
  virtual ~Authorization() = default;

  // The system's number, as last read; absent while it is not known.
  virtual std::optional<std::int64_t> authorizationStatus() const = 0;
};

}  // namespace sorn::sync
