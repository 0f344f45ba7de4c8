#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "sorn/Export.h"
#include "sorn/platform/Platform.h"

namespace sorn::platform {

// What a host says about itself when it uses the headless ports of Linux.
struct HeadlessOptions {
  // Reverse-domain or plain name; folders bear it. Absent for the executable's name.
  std::optional<std::string> identifier;
  std::optional<std::string> version;
  std::optional<std::string> build;
  // Searched for resources after the executable's folder and the installed data folders.
  std::vector<std::filesystem::path> resourceDirectories;
  // Keeps every file below this folder, in "data" and "config". Absent for the user's XDG base directories.
  std::optional<std::filesystem::path> dataDirectory;
};

// The headless ports: files, libcurl, the machine's clocks and facts, and a main queue on a thread of its
// own. Touches no file and begins no thread. A host replaces what it does differently, and installs the rest.
SORN_EXPORT Platform headless(const HeadlessOptions& options);

}  // namespace sorn::platform
