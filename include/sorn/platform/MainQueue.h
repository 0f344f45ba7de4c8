#pragma once

#include <chrono>
#include <functional>

namespace sorn::platform {

// The application's main loop: windows, location and notifications to the host belong to it.
class MainQueue {
 public:
  virtual ~MainQueue() = default;

  // Runs the work later on the main thread, in the order of posting. Callable from any thread.
  virtual void post(std::function<void()> work) = 0;
  // The same, not before the delay has passed.
  virtual void postAfter(std::chrono::duration<double> delay, std::function<void()> work) = 0;
};

}  // namespace sorn::platform
