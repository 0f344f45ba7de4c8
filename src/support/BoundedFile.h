#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <system_error>

namespace sorn::support {

// Reads a whole file of at most `limit` bytes. A longer one is refused with `file_too_large`, a missing one
// with `no_such_file_or_directory`. Never waits for a pipe without a writer.
std::string readBounded(const std::filesystem::path& file, std::size_t limit, std::error_code& error);

}  // namespace sorn::support
