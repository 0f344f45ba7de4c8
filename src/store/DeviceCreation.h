#pragma once

namespace sorn::store {

// Gives the current application's record the device that it lacks: the part of whoever knows the device's
// facts.
class DeviceCreation {
 public:
  virtual ~DeviceCreation() = default;

  // On the context's queue.
  virtual void createDevice() = 0;
};

}  // namespace sorn::store
