#pragma once

#include <filesystem>
#include <string_view>

#include "sorn/Value.h"
#include "sorn/platform/Deployment.h"
#include "support/AtomicFile.h"

namespace sorn::settings {

// A small file that holds one JSON object and is read and replaced as a whole.
class JsonFile {
 public:
  // `damaged` is a file that is no JSON object, or too long; `unreadable` one that the system does not give.
  enum class State { absent, whole, damaged, unreadable };
  struct Content {
    State state = State::absent;
    Dictionary members;
  };

  explicit JsonFile(std::filesystem::path file) : file_(std::move(file)) {}

  const std::filesystem::path& path() const { return file_; }

  Content load() const;
  // A damaged file is kept beside the new one, with ".damaged" at its name's end, for whoever wants to know.
  support::FileResult save(std::string_view json, State replaced, platform::Durability durability) const;

 private:
  const std::filesystem::path file_;
};

}  // namespace sorn::settings
