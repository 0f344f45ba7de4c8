#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "sorn/Value.h"

namespace sorn::platform {

// Small settings that outlive the process. Any thread.
class UserDefaults {
 public:
  virtual ~UserDefaults() = default;

  // The value that was set, else the registered default, else absent.
  virtual std::optional<Value> object(std::string_view key) const = 0;
  virtual void set(std::string_view key, Value value) = 0;
  virtual void remove(std::string_view key) = 0;
  // Values for keys that were never set. They last for this process and never shadow a set value.
  virtual void registerDefaults(Dictionary defaults) = 0;
  // Called after each `set` and `remove`, on the thread that made it and with no lock held.
  virtual void setObserver(std::function<void()> changed) = 0;

  // A boolean, or a number taken as one; false when absent or of another type.
  bool boolean(std::string_view key) const {
    const std::optional<Value> value = object(key);
    if (!value) return false;
    if (const bool* boolean = value->as<bool>()) return *boolean;
    if (const std::int64_t* integer = value->as<std::int64_t>()) return *integer != 0;
    if (const double* number = value->as<double>()) return *number != 0;
    return false;
  }
};

}  // namespace sorn::platform
