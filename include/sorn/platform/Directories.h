#pragma once

#include <filesystem>
#include <vector>

namespace sorn::platform {

// Where the application's files belong. Directories need not exist yet; whoever writes makes them. Any
// thread.
class Directories {
 public:
  virtual ~Directories() = default;

  // Candidates for documents, the best one last. Empty when there is no home to put them in.
  virtual std::vector<std::filesystem::path> documents() const = 0;
  // Candidates for supporting files, the best one first.
  virtual std::vector<std::filesystem::path> applicationSupport() const = 0;
};

}  // namespace sorn::platform
