#pragma once

#include <cstdint>
#include <functional>
#include <string_view>

namespace sorn::platform {

// The running application as its surroundings see it.
class Application {
 public:
  using BackgroundTask = std::uint64_t;
  static constexpr BackgroundTask invalidBackgroundTask = 0;

  virtual ~Application() = default;

  // 0 restricted, 1 denied, 2 available. Main thread.
  virtual int backgroundRefreshStatus() const = 0;
  // 0 unknown, 1 taller than wide, 3 wider than tall. Any thread.
  virtual int orientation() const = 0;

  // Asks for time to finish work although the application left the foreground. The handler runs when that
  // time is over, on any thread. Any thread.
  virtual BackgroundTask beginBackgroundTask(std::string_view name, std::function<void()> expired) = 0;
  virtual void endBackgroundTask(BackgroundTask task) = 0;
};

}  // namespace sorn::platform
