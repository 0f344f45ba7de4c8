#pragma once

#include <cstdint>
#include <optional>

#include "store/DBManager.h"

namespace sorn::sync {

// Whether a record with this device and this user (row ids, absent where it has none) is the current
// application's: of its device, or of a user who came along when the device changed. Others are left alone by
// maintenance. On the store's queue.
bool belongsToApplication(store::DBManager& database, std::optional<std::int64_t> device,
                          std::optional<std::int64_t> user);

}  // namespace sorn::sync
