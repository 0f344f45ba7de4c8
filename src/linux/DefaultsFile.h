#pragma once

#include <filesystem>
#include <functional>
#include <mutex>
#include <optional>
#include <string_view>

#include "linux/JsonFile.h"
#include "sorn/platform/UserDefaults.h"

namespace sorn::headless {

// Settings in a JSON file, read at the first use and written at each change. A change that can't be written
// holds for this process. Survives the death of the process, not always a power cut. Any thread.
class DefaultsFile final : public platform::UserDefaults {
 public:
  // Without a file the settings last as long as the process.
  explicit DefaultsFile(const std::optional<std::filesystem::path>& file);

  std::optional<Value> object(std::string_view key) const override;
  void set(std::string_view key, Value value) override;
  void remove(std::string_view key) override;
  void registerDefaults(Dictionary defaults) override;
  void setObserver(std::function<void()> changed) override;

 private:
  void load() const;
  void save();
  void announce();

  const std::optional<JsonFile> file_;
  mutable std::mutex mutex_;
  mutable bool isLoaded_ = false;
  mutable JsonFile::State state_ = JsonFile::State::absent;
  mutable Dictionary values_;
  Dictionary registered_;
  std::function<void()> changed_;
};

}  // namespace sorn::headless
