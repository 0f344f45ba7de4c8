#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <system_error>

#include "support/Result.h"

namespace sorn::support {

// Reads a whole file of at most `limit` bytes. A longer one is refused with `file_too_large`, a missing one
// with `no_such_file_or_directory`. Never waits for a pipe without a writer.
Result<std::string, std::error_code> readBounded(const std::filesystem::path& file, std::size_t limit);

}  // namespace sorn::support
