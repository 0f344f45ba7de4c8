#pragma once

// The host application and its private storage, in memory. Plain fields are set before the library starts.

#include <atomic>
#include <filesystem>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "sorn/platform/Bundle.h"
#include "sorn/platform/Directories.h"
#include "sorn/platform/SecureStore.h"

namespace sorn::tests {

class FakeBundle : public platform::Bundle {
 public:
  std::optional<std::string> name = "test.host";
  std::optional<std::string> versionText = "2.5";
  std::optional<std::string> buildText = "77";
  std::optional<std::string> libraryText = "1.2.3";
  std::filesystem::path resources;

  std::optional<std::string> identifier() const override { return name; }
  std::optional<std::string> version() const override { return versionText; }
  std::optional<std::string> build() const override { return buildText; }
  std::optional<std::string> libraryVersion() const override { return libraryText; }
  std::optional<std::filesystem::path> resource(std::string_view resource,
                                                std::string_view extension) const override {
    std::filesystem::path file = resources / (std::string(resource) + "." + std::string(extension));
    return std::filesystem::exists(file) ? std::optional(std::move(file)) : std::nullopt;
  }
};

class FakeDirectories : public platform::Directories {
 public:
  std::vector<std::filesystem::path> documentFolders;

  std::vector<std::filesystem::path> documents() const override { return documentFolders; }
  std::vector<std::filesystem::path> applicationSupport() const override { return documentFolders; }
};

class FakeSecureStore : public platform::SecureStore {
 public:
  // What `add` and `read` answer instead of their work; `success` lets them do it.
  std::atomic<Status> addStatus = success;
  std::atomic<Status> readStatus = success;

  // What hold the store up, as a slow disk does.
  std::function<void()> beforeAdd;
  std::function<void()> afterRead;

  ReadResult read(std::string_view service) const override {
    ReadResult result = find(service);
    if (const auto action = afterRead) action();
    return result;
  }
  Status add(std::string_view service, std::string_view bytes) override {
    if (beforeAdd) beforeAdd();
    const std::lock_guard lock(mutex_);
    if (addStatus != success) return addStatus;
    return items_.emplace(service, bytes).second ? success : duplicateItem;
  }
  Status remove(std::string_view service) override {
    const std::lock_guard lock(mutex_);
    return items_.erase(std::string(service)) > 0 ? success : itemNotFound;
  }

  std::map<std::string, std::string> items() const {
    const std::lock_guard lock(mutex_);
    return items_;
  }
  void put(const std::string& service, const std::string& bytes) {
    const std::lock_guard lock(mutex_);
    items_[service] = bytes;
  }
  int reads() const {
    const std::lock_guard lock(mutex_);
    return reads_;
  }

 private:
  ReadResult find(std::string_view service) const {
    const std::lock_guard lock(mutex_);
    ++reads_;
    if (readStatus != success) return {readStatus, std::nullopt};
    const auto found = items_.find(std::string(service));
    if (found == items_.end()) return {itemNotFound, std::nullopt};
    return {success, found->second};
  }

  mutable std::mutex mutex_;
  mutable int reads_ = 0;
  std::map<std::string, std::string> items_;
};

}  // namespace sorn::tests
