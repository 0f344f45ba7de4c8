#pragma once

#include <string>

#include "device/DeviceManager.h"
#include "documents/DeviceInfo.h"
#include "store/DBManager.h"
#include "store/entities/SNServerStatus.h"

namespace sorn::registration {

// The device's record: what the service is to know of this installation. Any thread.
class DeviceRecords final : public store::DeviceCreation {
 public:
  DeviceRecords(store::DBManager& database, device::DeviceManager& device)
      : database_(database), device_(device) {}

  void createDevice() override { deviceSynchronisation(device_.deviceInfo()); }

  // Copies the information into the record of its identifier, made when there is none, which becomes the
  // current application's device. The service's knowledge of it is `pending` then.
  void deviceSynchronisation(const documents::DeviceInfo& info);
  // False without a device, and when the save failed.
  [[nodiscard]] bool deviceStatusUpdate(store::ServerStatusState state);
  void deviceCreatedAtStore(double secondsSince1970);

 private:
  store::DBManager& database_;
  device::DeviceManager& device_;
};

}  // namespace sorn::registration
