#pragma once

#include "documents/DeviceInfo.h"
#include "store/entities/SNDevice.h"

namespace sorn::registration {

// Copies the information into the device's record, absent fields as absent.
void copyDeviceInfo(const documents::DeviceInfo& info, store::SNDevice& device);

// The information as the record holds it.
documents::DeviceInfo deviceInfo(const store::SNDevice& device);

}  // namespace sorn::registration
