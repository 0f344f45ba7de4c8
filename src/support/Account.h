#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace sorn::support {

// What a successful start has deciphered. Immutable: a second start replaces the whole.
struct Credentials {
  std::string applicationKey;
  std::string applicationSecret;
  std::string environment;  // as it stands in the configuration file, still enciphered
  std::string baseURL;
};

// Holds the credentials for everything below the facade, which alone writes them. Any thread.
class Account {
 public:
  std::shared_ptr<const Credentials> credentials() const {
    const std::lock_guard lock(mutex_);
    return credentials_;
  }

  std::optional<std::string> applicationKey() const {
    const auto held = credentials();
    return held ? std::optional(held->applicationKey) : std::nullopt;
  }

  void set(Credentials credentials) {
    auto replacement = std::make_shared<const Credentials>(std::move(credentials));
    const std::lock_guard lock(mutex_);
    credentials_.swap(replacement);
  }

 private:
  mutable std::mutex mutex_;
  std::shared_ptr<const Credentials> credentials_;
};

}  // namespace sorn::support
