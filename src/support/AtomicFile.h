#pragma once

#include <filesystem>
#include <string_view>
#include <system_error>

#include "sorn/platform/Deployment.h"
#include "support/Result.h"

namespace sorn::support {

using FileResult = Result<void, std::error_code>;

// Makes the folder and the missing ones above it, readable by the user alone (0700). Folders that exist keep
// their modes.
FileResult makePrivateFolders(const std::filesystem::path& folder);

// Replaces the file's content as a whole: a reader, also after the death of the process at any point, finds
// the old bytes or the new ones. With `Durability::power` this holds for a power cut too, at the cost of a
// flush of the disk. The file is readable by the user alone (0600); missing folders are made. On failure the
// old content stays. What a process that died in the middle left beside the file, under a hidden name, goes
// with the next call for the same file.
FileResult writeAtomically(const std::filesystem::path& file, std::string_view bytes,
                           platform::Durability durability = platform::Durability::power);

}  // namespace sorn::support
