#include "settings/SecureStoreFile.h"

#include <string>
#include <utility>

#include "settings/FileLock.h"
#include "support/Base64.h"
#include "support/json/JsonWriter.h"

namespace sorn::settings {

SecureStoreFile::SecureStoreFile(const std::optional<std::filesystem::path>& file)
    : file_(file ? std::optional<JsonFile>(*file) : std::nullopt) {}

platform::SecureStore::ReadResult SecureStoreFile::read(std::string_view service) const {
  if (!file_) return {ioFailure, std::nullopt};
  const JsonFile::Content content = file_->load();
  if (content.state == JsonFile::State::absent) return {itemNotFound, std::nullopt};
  if (content.state != JsonFile::State::whole) return {ioFailure, std::nullopt};
  const auto found = content.members.find(std::string(service));
  if (found == content.members.end()) return {itemNotFound, std::nullopt};
  const std::string* text = found->second.as<std::string>();
  std::optional<std::string> bytes = text ? support::base64Decode(*text) : std::nullopt;
  if (!bytes) return {ioFailure, std::nullopt};
  return {success, std::move(bytes)};
}

platform::SecureStore::Status SecureStoreFile::add(std::string_view service, std::string_view bytes) {
  if (!file_) return ioFailure;
  const std::lock_guard changing(changing_);
  const FileLock lock(file_->path());
  JsonFile::Content content = file_->load();
  if (content.state == JsonFile::State::unreadable) return ioFailure;
  // Never replaced: the first process to name the device decides for all.
  const auto [item, isNew] = content.members.try_emplace(std::string(service));
  if (!isNew) return duplicateItem;
  item->second = support::base64Encode(bytes);
  return save(content);
}

platform::SecureStore::Status SecureStoreFile::remove(std::string_view service) {
  if (!file_) return ioFailure;
  const std::lock_guard changing(changing_);
  const FileLock lock(file_->path());
  JsonFile::Content content = file_->load();
  if (content.state == JsonFile::State::absent) return itemNotFound;
  if (content.state != JsonFile::State::whole) return ioFailure;
  if (content.members.erase(std::string(service)) == 0) return itemNotFound;
  return save(content);
}

// The item stands for the device for years, so it is worth a flush of the disk.
platform::SecureStore::Status SecureStoreFile::save(const JsonFile::Content& content) const {
  std::string text;
  if (!support::appendValue(text, content.members)) return ioFailure;
  return file_->save(text, content.state, platform::Durability::power) ? success : ioFailure;
}

}  // namespace sorn::settings
