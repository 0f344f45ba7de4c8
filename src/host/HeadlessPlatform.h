#pragma once

#include "host/XdgDirectories.h"
#include "sorn/platform/Platform.h"

namespace sorn::host {

// Fills the ports that are still empty with the adapters of this folder. Files lie below the homes, in
// folders with the bundle's identifier. Touches no file and begins no thread: the adapters do that at their
// first use.
void fillHeadless(platform::Platform& platform, const XdgHomes& homes = XdgHomes::fromEnvironment());

}  // namespace sorn::host
