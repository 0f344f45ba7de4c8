#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <system_error>

namespace sorn::tests {

// A new folder that goes with its object.
class TemporaryFolder {
 public:
  TemporaryFolder() {
    std::string name = (std::filesystem::temp_directory_path() / "sorn-test-XXXXXX").string();
    if (::mkdtemp(name.data())) path_ = name;
  }
  ~TemporaryFolder() {
    std::error_code ignored;
    if (!path_.empty()) std::filesystem::remove_all(path_, ignored);
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  const std::filesystem::path& path() const { return path_; }
  std::filesystem::path operator/(std::string_view name) const { return path_ / name; }

  // Writes a file, with the folders above it.
  std::filesystem::path write(std::string_view name, std::string_view bytes) const {
    std::filesystem::path file = path_ / name;
    std::filesystem::create_directories(file.parent_path());
    std::ofstream(file, std::ios::binary) << bytes;
    return file;
  }

  std::string read(std::string_view name) const {
    std::ifstream stream(path_ / name, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
  }

 private:
  std::filesystem::path path_;
};

// The permission bits in octal, as "0600".
inline std::string modeOf(const std::filesystem::path& file) {
  char text[16];
  const auto bits = static_cast<unsigned>(std::filesystem::status(file).permissions());
  std::snprintf(text, sizeof text, "%04o", bits);
  return text;
}

}  // namespace sorn::tests
