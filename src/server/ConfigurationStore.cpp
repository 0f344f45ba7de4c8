#include "server/ConfigurationStore.h"

#include <utility>

namespace sorn::server {

using documents::Configuration;

namespace {

constexpr std::string_view keySuffix = "-SNSornConfiguration";
constexpr std::int64_t defaultBatchSize = 10;
constexpr double defaultBatchTimeout = 10.0;

std::shared_ptr<const Configuration> decodeStored(const std::string& text) {
  documents::DecodingFailure failure;
  std::optional<Configuration> decoded = documents::decodeDocument<Configuration>(text, failure);
  return decoded ? std::make_shared<const Configuration>(*decoded) : nullptr;
}

}  // namespace

std::optional<std::string> ConfigurationStore::key() const {
  std::optional<std::string> key = account_.applicationKey();
  if (key) *key += keySuffix;
  return key;
}

std::shared_ptr<const Configuration> ConfigurationStore::configuration() {
  const std::lock_guard lock(mutex_);
  if (cached_) return cached_;
  const std::optional<std::string> storedUnder = key();
  if (!storedUnder || *storedUnder == absentUnder_) return nullptr;
  if (const std::optional<std::string> stored = keychain_.read(*storedUnder)) cached_ = decodeStored(*stored);
  if (!cached_) absentUnder_ = *storedUnder;
  return cached_;
}

void ConfigurationStore::setConfiguration(const std::optional<Configuration>& configuration) {
  const std::optional<std::string> storedUnder = key();
  if (!storedUnder) return;
  std::optional<std::string> text;
  if (configuration) text = documents::encodeDocument(*configuration);
  const std::lock_guard lock(mutex_);
  keychain_.save(*storedUnder, text);
  // What is kept is what a later start would read, not what came over the wire.
  cached_ = text ? decodeStored(*text) : nullptr;
  absentUnder_.clear();
}

bool ConfigurationStore::takeFromAnswer(const std::optional<support::Node>& answer) {
  const auto member = answer ? answer->find("configuration") : std::nullopt;
  Configuration configuration;
  documents::DecodingFailure failure;
  if (!member || !documents::decode(*member, configuration, failure)) return false;
  setConfiguration(configuration);
  return true;
}

bool ConfigurationStore::isEnabled(bool documents::Features::*feature, bool byDefault) {
  if (const auto stored = configuration()) return stored->features.*feature;
  logger_.log(support::LogLevel::info, "Did not find stored Sorn configuration");
  return byDefault;
}

std::int64_t ConfigurationStore::batchSize() {
  const auto stored = configuration();
  return stored ? stored->eventOptions.batchSize : defaultBatchSize;
}

double ConfigurationStore::batchTimeout() {
  const auto stored = configuration();
  return stored ? static_cast<double>(stored->eventOptions.batchTimeout) : defaultBatchTimeout;
}

}  // namespace sorn::server
