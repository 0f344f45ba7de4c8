#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace sorn::console {

struct Arguments {
  std::filesystem::path configuration;
  std::optional<std::filesystem::path> data;
  std::optional<std::string> storage;
  std::optional<std::string> libraryVersion;
  bool manualClock = false;
};

// Absent, with a message on standard error, when the arguments make no sense.
std::optional<Arguments> parseArguments(int count, char** values);

}  // namespace sorn::console
