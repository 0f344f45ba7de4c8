#include "linux/DefaultsFile.h"

#include <string>
#include <utility>

#include "linux/StoredValue.h"
#include "support/JsonWriter.h"

namespace sorn::headless {

namespace {

// One setting a line, so that a person can read and mend the file. Settings that JSON can't hold (texts that
// are not UTF-8) are left out.
std::string fileText(const Dictionary& values) {
  std::string text = "{";
  for (const auto& [key, value] : values) {
    std::string member = text.size() > 1 ? ",\n  " : "\n  ";
    if (!support::appendText(member, key)) continue;
    member += ": ";
    if (support::appendValue(member, storedForm(value))) text += member;
  }
  return text + "\n}\n";
}

}  // namespace

DefaultsFile::DefaultsFile(const std::optional<std::filesystem::path>& file)
    : file_(file ? std::optional<JsonFile>(*file) : std::nullopt) {}

void DefaultsFile::load() const {
  if (isLoaded_) return;
  isLoaded_ = true;
  if (!file_) return;
  JsonFile::Content content = file_->load();
  state_ = content.state;
  for (auto& [key, value] : content.members) values_.emplace(key, restoredFrom(value));
}

// A file that can't be read is somebody else's to mend: writing would lose what is in it.
void DefaultsFile::save() {
  if (!file_ || state_ == JsonFile::State::unreadable) return;
  if (!file_->save(fileText(values_), state_, platform::Durability::process)) state_ = JsonFile::State::whole;
}

std::optional<Value> DefaultsFile::object(std::string_view key) const {
  const std::lock_guard lock(mutex_);
  load();
  const std::string name(key);
  if (const auto found = values_.find(name); found != values_.end()) return found->second;
  if (const auto found = registered_.find(name); found != registered_.end()) return found->second;
  return std::nullopt;
}

void DefaultsFile::set(std::string_view key, Value value) {
  {
    const std::lock_guard lock(mutex_);
    load();
    const auto [place, isNew] = values_.try_emplace(std::string(key));
    // Most starts set what is there already.
    if (isNew || place->second != value) {
      place->second = std::move(value);
      save();
    }
  }
  announce();
}

void DefaultsFile::remove(std::string_view key) {
  {
    const std::lock_guard lock(mutex_);
    load();
    if (values_.erase(std::string(key)) > 0) save();
  }
  announce();
}

void DefaultsFile::registerDefaults(Dictionary defaults) {
  const std::lock_guard lock(mutex_);
  for (auto& [key, value] : defaults) registered_.insert_or_assign(key, std::move(value));
}

void DefaultsFile::setObserver(std::function<void()> changed) {
  const std::lock_guard lock(mutex_);
  changed_ = std::move(changed);
}

void DefaultsFile::announce() {
  std::function<void()> changed;
  {
    const std::lock_guard lock(mutex_);
    changed = changed_;
  }
  if (changed) changed();
}

}  // namespace sorn::headless
