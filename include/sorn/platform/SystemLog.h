#pragma once

#include <string_view>

namespace sorn::platform {

enum class SystemLogType { standard, info, error };

// The system's log. Called from the logger's queue alone.
class SystemLog {
 public:
  virtual ~SystemLog() = default;

  virtual void write(SystemLogType type, std::string_view line) = 0;
};

}  // namespace sorn::platform
