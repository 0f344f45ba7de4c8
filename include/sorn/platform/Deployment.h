#pragma once

#include <string>

#include "sorn/Export.h"

namespace sorn::platform {

// How a save of the local store meets a power cut. Both survive the death of the process at any point.
enum class Durability {
  process,  // a power cut may cost the last moments, never the file's integrity
  power,    // every save reaches the disk before it returns; costs one flush of the disk a save
};

// What a deployment fixes, rather than the account or the host's user.
struct SORN_EXPORT Deployment {
  Deployment();

  std::string storageOrigin;      // of the published files, such as "https://host"
  std::string storageDomainPart;  // joined to the bucket's first label
  std::string logLabel;           // names the library's lines in the system log
  Durability durability = Durability::process;
};

}  // namespace sorn::platform
