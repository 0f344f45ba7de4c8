#include "server/ConfigurationStore.h"

#include <utility>

namespace sorn::server {

using documents::Configuration;

namespace {

constexpr std::string_view keySuffix = "-SNSornConfiguration";
constexpr std::int64_t defaultBatchSize = 10;
constexpr double defaultBatchTimeout = 10.0;

std::shared_ptr<const Configuration> decodeStored(const std::string& text) {
  const auto decoded = documents::decodeDocument<Configuration>(text);
  return decoded ? std::make_shared<const Configuration>(*decoded) : nullptr;
}

}  // namespace

std::optional<std::string> ConfigurationStore::key() const {
  std::optional<std::string> key = account_.applicationKey();
  if (key) *key += keySuffix;
  return key;
}

std::shared_ptr<const Configuration> ConfigurationStore::configuration() {
  {
    const std::lock_guard lock(mutex_);
    if (cached_) return cached_;
  }
  return readStored();
}

// A store that could not be read is asked again the next time; one without a usable item is not. What was
// stored while this read went on counts before what it found.
std::shared_ptr<const Configuration> ConfigurationStore::readStored() {
  const std::optional<std::string> storedUnder = key();
  if (!storedUnder) return nullptr;
  std::uint64_t writesBefore = 0;
  {
    const std::lock_guard lock(mutex_);
    if (cached_ || *storedUnder == absentUnder_) return cached_;
    writesBefore = writes_;
  }
  const platform::SecureStore::ReadResult stored = keychain_.read(*storedUnder);
  std::shared_ptr<const Configuration> found = stored.bytes ? decodeStored(*stored.bytes) : nullptr;
  const bool isAbsent = !found && (stored.status == platform::SecureStore::success ||
                                   stored.status == platform::SecureStore::itemNotFound);
  const std::lock_guard lock(mutex_);
  if (cached_ || writes_ != writesBefore) return cached_;
  cached_ = std::move(found);
  if (isAbsent) absentUnder_ = *storedUnder;
  return cached_;
}

// One value, read without taking a share in the whole.
template <class Read>
auto ConfigurationStore::stored(Read&& read)
    -> std::optional<std::invoke_result_t<Read, const Configuration&>> {
  {
    const std::lock_guard lock(mutex_);
    if (cached_) return read(*cached_);
  }
  const std::shared_ptr<const Configuration> known = readStored();
  if (!known) return std::nullopt;
  return read(*known);
}

void ConfigurationStore::setConfiguration(const std::optional<Configuration>& configuration) {
  const std::optional<std::string> storedUnder = key();
  if (!storedUnder) return;
  std::optional<std::string> text;
  if (configuration) text = documents::encodeDocument(*configuration);
  const std::lock_guard writing(writing_);
  keychain_.save(*storedUnder, text);
  // What is kept is what a later start would read, not what came over the wire.
  std::shared_ptr<const Configuration> kept = text ? decodeStored(*text) : nullptr;
  const std::lock_guard lock(mutex_);
  cached_.swap(kept);
  absentUnder_.clear();
  ++writes_;
}

bool ConfigurationStore::takeFromAnswer(const std::optional<support::Node>& answer) {
  const auto member = answer ? answer->find("configuration") : std::nullopt;
  if (!member) return false;
  const auto configuration = documents::decodeValue<Configuration>(*member);
  if (!configuration) return false;
  setConfiguration(*configuration);
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
