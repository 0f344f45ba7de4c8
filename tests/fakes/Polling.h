#pragma once

#include <chrono>
#include <functional>
#include <thread>

namespace sorn::tests {

// Whether the condition comes true within ten seconds, for what happens on other threads or in other
// processes.
inline bool becomesTrue(const std::function<bool()>& condition) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (!condition()) {
    if (std::chrono::steady_clock::now() > end) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return true;
}

}  // namespace sorn::tests
