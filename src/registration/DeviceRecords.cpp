#include "registration/DeviceRecords.h"

#include "registration/DeviceRecord.h"

namespace sorn::registration {

using store::ServerStatusState;
using store::SNApplication;
using store::SNDevice;
using store::SNServerStatus;

void DeviceRecords::deviceSynchronisation(const documents::DeviceInfo& info) {
  store::ManagedObjectContext& context = database_.context();
  context.performBlockAndWait([&] {
    const std::string entityID = info.entity_id ? *info.entity_id : device_.makeIdentifier();
    const auto device = context.findOrCreate<SNDevice>(store::assign(SNDevice::entityID, entityID));
    copyDeviceInfo(info, *device);
    device->set(SNDevice::entityID, entityID);
    SNServerStatus::findOrCreate(device).setStatus(ServerStatusState::pending);
    database_.currentApplication()->set(SNApplication::device, device);
    context.saveNowOrLater();
  });
}

bool DeviceRecords::deviceStatusUpdate(ServerStatusState state) {
  return database_.context().performBlockAndWait([&] {
    const auto device = database_.currentApplication()->get(SNApplication::device);
    if (!device) return false;
    SNServerStatus::findOrCreate(device).setStatus(state);
    return database_.context().save();
  });
}

void DeviceRecords::deviceCreatedAtStore(double secondsSince1970) {
  database_.context().performBlockAndWait([&] {
    const auto device = database_.currentApplication()->get(SNApplication::device);
    if (device) device->set(SNDevice::createdAt, dateSince1970(secondsSince1970));
    database_.context().saveNowOrLater();
  });
}

}  // namespace sorn::registration
