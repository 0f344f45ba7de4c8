#pragma once

#include <filesystem>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

#include "settings/JsonFile.h"
#include "sorn/platform/UserDefaults.h"

namespace sorn::settings {

// Settings in a JSON file, read at the first use and at each change, which is written at once and alone:
// what another process has set meanwhile stays. A change that can't be written holds for this process.
// Survives the death of the process, not always a power cut. Any thread; readers never wait for a writer.
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
  void change(const std::string& key, std::optional<Value> value);
  JsonFile::State refresh();
  bool save(JsonFile::State replaced) const;
  void load() const;
  void announce();

  const std::optional<JsonFile> file_;
  // One change after another. A writer changes `values_` under both mutexes, so it may look at them under
  // this one alone.
  std::mutex changing_;
  // Changes that the file doesn't hold; absence is a removal.
  std::map<std::string, std::optional<Value>> unwritten_;

  mutable std::mutex mutex_;
  mutable bool isLoaded_ = false;
  mutable Dictionary values_;
  Dictionary registered_;
  std::function<void()> changed_;
};

}  // namespace sorn::settings
