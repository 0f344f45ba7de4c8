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
  load();
  return cached_;
}

void ConfigurationStore::load() {
  if (cached_) return;
  const std::optional<std::string> storedUnder = key();
  if (!storedUnder || *storedUnder == absentUnder_) return;
  if (const std::optional<std::string> stored = keychain_.read(*storedUnder)) cached_ = decodeStored(*stored);
  if (!cached_) absentUnder_ = *storedUnder;
}

// One value, read without taking a share in the whole.
template <class Read>
auto ConfigurationStore::stored(Read&& read)
    -> std::optional<std::invoke_result_t<Read, const Configuration&>> {
  const std::lock_guard lock(mutex_);
  load();
  if (!cached_) return std::nullopt;
  return read(*cached_);
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
  const auto isOn = stored([&](const Configuration& known) { return known.features.*feature; });
  if (!isOn) logger_.log(support::LogLevel::info, "Did not find stored Sorn configuration");
  return isOn.value_or(byDefault);
}

std::int64_t ConfigurationStore::batchSize() {
  return stored([](const Configuration& known) { return known.eventOptions.batchSize; })
      .value_or(defaultBatchSize);
}

double ConfigurationStore::batchTimeout() {
  return stored(
             [](const Configuration& known) { return static_cast<double>(known.eventOptions.batchTimeout); })
      .value_or(defaultBatchTimeout);
}

}  // namespace sorn::server
