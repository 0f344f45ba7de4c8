#pragma once

// A folder that is gone at the end of a test.

#include <filesystem>
#include <stdexcept>
#include <string>

#include <stdlib.h>

namespace sorn::emulator::test {

class TemporaryFolder {
 public:
  TemporaryFolder() {
    std::string pattern = std::filesystem::temp_directory_path() / "sorn-emulator-XXXXXX";
    if (!mkdtemp(pattern.data())) throw std::runtime_error("no temporary folder to be had");
    path_ = pattern;
  }
  ~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
};

}  // namespace sorn::emulator::test
