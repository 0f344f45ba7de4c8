#pragma once

// A whole library with the headless ports in a folder of its own.

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

#include "facade/Library.h"
#include "sorn/Value.h"

namespace sorn::bench {

inline constexpr std::string_view accountKey = "bench-key";
inline constexpr std::string_view accountSecret = "bench-secret";
inline constexpr std::string_view configurationName = "Bench.plist";
inline constexpr std::string_view hostIdentifier = "sorn-bench";
// Nobody listens there.
inline constexpr std::string_view deadOrigin = "http://127.0.0.1:9";
// A batch that is never full.
inline constexpr std::int64_t endless = 1'000'000'000;

// A new folder beside the programs, and so on the disk that the build lies on; it goes with its object.
class Folder {
 public:
  Folder();
  ~Folder();
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;

  const std::filesystem::path& path() const { return path_; }
  // Name of the file system, such as "ext4".
  std::string fileSystem() const;

 private:
  std::filesystem::path path_;
};

// Writes the configuration file of the benchmarks' account into the folder.
void writeConfiguration(const std::filesystem::path& folder, const std::string& origin);

class Host {
 public:
  Host(const std::filesystem::path& folder, const std::string& origin, std::int64_t batchSize);

  facade::Library& library() { return library_; }
  // Puts off the report until so many events wait.
  void setBatchSize(std::int64_t events);
  // The start alone, as the constructor did it.
  static std::unique_ptr<facade::Library> make(const std::filesystem::path& folder);

  // One event with six values, about 600 bytes as a row.
  void log() { library_.sorn().logEventWith("navigation", "product_viewed", data_); }
  // Sends what waits and returns when it has been deleted.
  void report();
  void waitUntilIdle();
  std::size_t waiting();

 private:
  std::unique_ptr<facade::Library> owned_;
  facade::Library& library_;
  const std::optional<Dictionary> data_;
};

}  // namespace sorn::bench
