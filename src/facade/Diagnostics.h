#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <string>

#include "facade/FacadeState.h"
#include "sorn/Sorn.h"

// A look inside for programs that are built with the library, such as the console host; no part of the public
// interface.
namespace sorn::facade {

struct StatusCounts {
  std::size_t isFalse = 0;
  std::size_t pending = 0;
  std::size_t isTrue = 0;
  std::size_t without = 0;  // records that have no status
};

class Diagnostics {
 public:
  explicit Diagnostics(Sorn& sorn);

  bool didStart() const;
  SornMode mode() const;
  // By entity; only entities that have records.
  std::map<std::string, StatusCounts> recordCounts();

  // Has every campaign that is selected named to this function, on the main queue.
  void onPresented(std::function<void(const std::string& campaignID)> presented);

  // Returns when no thread of the library has anything left to do but to wait for a timer.
  void waitUntilIdle();
  // Time to the next tick of a timer; absent without timers.
  std::optional<double> secondsToNextTimer();

 private:
  void waitForStore();
  void waitForMainQueue();

  Library& library_;
};

}  // namespace sorn::facade
