#include "settings/DefaultsFile.h"

#include <string>
#include <utility>

#include "settings/FileLock.h"
#include "settings/StoredValue.h"
#include "support/json/JsonWriter.h"

namespace sorn::settings {

namespace {

// Absent for what JSON can't hold: texts that are not UTF-8.
std::optional<std::string> memberText(const std::string& key, const Value& value) {
  std::string text;
  if (!support::appendText(text, key)) return std::nullopt;
  text += ": ";
  return support::appendValue(text, storedForm(value)) ? std::optional(std::move(text)) : std::nullopt;
}

// One setting a line, so that a person can read and mend the file.
std::string fileText(const Dictionary& values) {
  std::string text = "{";
  for (const auto& [key, value] : values) {
    const std::optional<std::string> member = memberText(key, value);
    if (member) text.append(text.size() > 1 ? ",\n  " : "\n  ").append(*member);
  }
  return text + "\n}\n";
}

Dictionary restored(const Dictionary& members) {
  Dictionary values;
  for (const auto& [key, value] : members) values.emplace(key, restoredFrom(value));
  return values;
}

void apply(Dictionary& values, const std::string& key, const std::optional<Value>& value) {
  if (value) {
    values.insert_or_assign(key, *value);
  } else {
    values.erase(key);
  }
}

bool holds(const Dictionary& values, const std::string& key, const std::optional<Value>& value) {
  const auto found = values.find(key);
  return found == values.end() ? !value : value == found->second;
}

}  // namespace

DefaultsFile::DefaultsFile(const std::optional<std::filesystem::path>& file)
    : file_(file ? std::optional<JsonFile>(*file) : std::nullopt) {}

void DefaultsFile::load() const {
  if (isLoaded_) return;
  isLoaded_ = true;
  if (file_) values_ = restored(file_->load().members);
}

// Takes over what other processes have set. A file that tells nothing leaves what is known as it is.
JsonFile::State DefaultsFile::refresh() {
  const JsonFile::Content content = file_ ? file_->load() : JsonFile::Content();
  const std::lock_guard lock(mutex_);
  if (content.state == JsonFile::State::whole) values_ = restored(content.members);
  for (const auto& [key, value] : unwritten_) apply(values_, key, value);
  isLoaded_ = true;
  return content.state;
}

// A file that can't be read is somebody else's to mend: writing would lose what is in it.
bool DefaultsFile::save(JsonFile::State replaced) const {
  if (!file_ || replaced == JsonFile::State::unreadable) return false;
  return static_cast<bool>(file_->save(fileText(values_), replaced, platform::Durability::process));
}

// The file is read twice. First without the lock, which would make every start wait for others only to find
// that nothing changes; then under it, since between a reading and a replacement without one another
// process's change would be lost. What could not be written stays in `unwritten_` and goes with the next
// change.
void DefaultsFile::change(const std::string& key, std::optional<Value> value) {
  const std::lock_guard changing(changing_);
  refresh();
  // Most starts set what is there already.
  if (holds(values_, key, value)) return;
  unwritten_[key] = std::move(value);
  std::optional<FileLock> lock;
  if (file_) lock.emplace(file_->path());
  if (!save(refresh())) return;
  // A value that JSON can't hold was left out of the file, and is kept for this process.
  std::erase_if(unwritten_,
                [](const auto& each) { return !each.second || memberText(each.first, *each.second); });
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
  change(std::string(key), std::move(value));
  announce();
}

void DefaultsFile::remove(std::string_view key) {
  change(std::string(key), std::nullopt);
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

}  // namespace sorn::settings
