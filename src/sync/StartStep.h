#pragma once

#include <functional>
#include <vector>

namespace sorn::sync {

// What earlier steps of a start have found out for later ones.
struct StartFindings {
  // Whether the first number of the library's version is that of the last start.
  bool isSameVersion = true;
};

// A feature's part in bringing the stored records into line with the device at a start.
class StartStep {
 public:
  virtual ~StartStep() = default;

  // On the store's queue, and without waiting for the network. A step that fails does not stop the next one.
  virtual void run(StartFindings& findings) = 0;
};

// In the order in which they run.
using StartSteps = std::vector<std::reference_wrapper<StartStep>>;

}  // namespace sorn::sync
