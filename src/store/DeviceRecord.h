#pragma once

#include "documents/DeviceInfo.h"
#include "store/entities/SNDevice.h"

namespace sorn::store {

// Copies the information into the device's record, absent fields as absent.
void copyDeviceInfo(const documents::DeviceInfo& info, SNDevice& device);

// The information as the record holds it.
documents::DeviceInfo deviceInfo(const SNDevice& device);

}  // namespace sorn::store
