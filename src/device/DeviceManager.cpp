#include "device/DeviceManager.h"

#include <algorithm>
#include <charconv>

#include "device/VersionNumber.h"
#include "support/Fault.h"
#include "support/Uuid.h"
#include "support/json/Json.h"

namespace sorn::device {

namespace {

using platform::DeviceIdiom;
using support::LogLevel;

constexpr std::string_view notAvailable = "n/a";
constexpr std::string_view firstGeneration = "-SORN_UUID_KEY";
constexpr std::string_view secondGeneration = "-SORN_UUID_KEY_V2";

std::string_view nameOf(DeviceIdiom idiom) {
  switch (idiom) {
    case DeviceIdiom::phone:
      return "smartphone";
    case DeviceIdiom::tablet:
      return "tablet";
    case DeviceIdiom::tv:
      return "tv";
    case DeviceIdiom::carplay:
      return "carplay";
    case DeviceIdiom::mac:
      return "mac";
    case DeviceIdiom::vision:
      return "vision";
    case DeviceIdiom::unspecified:
      break;
  }
  return "unspecified";
}

// What a platform tells in another encoding can't be written anywhere, so it counts as not told.
std::optional<std::string> readable(std::optional<std::string> text) {
  return text && support::isValidUtf8(*text) ? std::move(text) : std::nullopt;
}

std::string textOr(std::optional<std::string> value) {
  return readable(std::move(value)).value_or(std::string(notAvailable));
}

// "zh" of "zh-Hant-TW".
std::optional<std::string> primaryLanguage(std::optional<std::string> tag) {
  if (tag) tag->resize(std::min(tag->find('-'), tag->size()));
  return tag;
}

// Zero for what is no decimal integer, digits of other scripts among them.
std::int64_t integerOf(std::optional<std::string_view> digits) {
  std::int64_t value = 0;
  if (!digits) return 0;
  const auto [end, error] = std::from_chars(digits->data(), digits->data() + digits->size(), value);
  return error == std::errc() && end == digits->data() + digits->size() ? value : 0;
}

std::int64_t integerForm(std::string_view text) {
  const auto version = VersionNumber::find(text);
  if (!version) return 0;
  const std::int64_t parts[] = {integerOf(version->major), integerOf(version->minor),
                                integerOf(version->patch),
                                integerOf(version->beta ? version->beta : version->other)};
  constexpr std::int64_t weights[] = {100000000, 1000000, 10000, 1};
  std::int64_t sum = 0;
  for (int part = 0; part < 4; ++part) {
    std::int64_t product = 0;
    if (__builtin_mul_overflow(parts[part], weights[part], &product) ||
        __builtin_add_overflow(sum, product, &sum)) {
      return 0;
    }
  }
  const bool isPreRelease = text.find('-') != std::string_view::npos;
  if (!isPreRelease) return sum + 1000;
  return version->beta ? sum : -sum;
}

}  // namespace

DeviceManager::DeviceManager(const platform::DeviceFacts& facts, const platform::Bundle& bundle,
                             const support::Account& account, KeychainWrapper& keychain,
                             support::Logger& logger)
    : facts_(facts),
      bundle_(bundle),
      account_(account),
      keychain_(keychain),
      logger_(logger),
      sdkVersion_(textOr(bundle.libraryVersion())),
      extractedSDKVersion_(integerForm(sdkVersion_)) {}

std::string DeviceManager::applicationVersion() const { return textOr(bundle_.version()); }

std::string DeviceManager::systemVersion() const { return textOr(facts_.systemVersion()); }

int DeviceManager::locationStatus() const {
  switch (facts_.locationAuthorization().value_or(0)) {
    case 1:
    case 2:
      return 0;
    case 3:
    case 4:
      return 1;
    default:
      return -1;
  }
}

documents::DeviceInfo DeviceManager::deviceInfo() {
  documents::DeviceInfo info;
  info.entity_id = identifier();
  info.advertising_id = advertisingIdentifier();
  info.device_type = nameOf(facts_.idiom());
  // The service knows installations by this maker and keeps its rules by it.
  info.device_manufacturer = "APPLE";
  info.device_model = readable(facts_.model());
  if (const auto screen = facts_.screen()) {
    info.screen_width = screen->width;
    info.screen_height = screen->height;
    info.screen_density = screen->density;
  }
  info.network_operator = readable(facts_.networkOperator());
  info.country_code = readable(facts_.countryCode());
  info.os_version = readable(facts_.systemVersion());
  info.language = textOr(primaryLanguage(facts_.language()));
  info.region = textOr(facts_.region());
  info.utcoffset = facts_.secondsFromGMT() / 60;
  info.app_package = textOr(bundle_.identifier());
  info.app_version = applicationVersion();
  info.app_build = textOr(bundle_.build());
  info.sdk_version = sdkVersion_;
  info.is_jailbroken = false;
  info.model_identifier = readable(facts_.machine());
  info.background_refresh_status = backgroundRefreshStatus();
  return info;
}

std::optional<std::string> DeviceManager::advertisingIdentifier() {
  if (!facts_.hasAdvertisingService()) {
    logger_.log(LogLevel::info, "AdSupport is not linked...");
    return std::nullopt;
  }
  if (!facts_.isAdvertisingTrackingEnabled()) {
    logger_.log(LogLevel::info, "Ad tracking is disabled...");
    return std::nullopt;
  }
  return readable(facts_.advertisingIdentifier());
}

std::string DeviceManager::applicationKey() const {
  std::optional<std::string> key = account_.applicationKey();
  if (!key) support::fault("an application key before the device identifier is used");
  return *std::move(key);
}

std::optional<std::string> DeviceManager::madeIdentifier() const {
  const std::string key = applicationKey();
  const std::lock_guard lock(mutex_);
  return made_.first == key && !made_.second.empty() ? std::optional(made_.second) : std::nullopt;
}

std::optional<std::string> DeviceManager::readIdentifier() {
  const std::string key = applicationKey();
  const auto readText = [&](std::string_view suffix) {
    return readable(keychain_.read(key + std::string(suffix)).bytes);
  };
  if (std::optional<std::string> current = readText(secondGeneration)) return current;
  std::optional<std::string> former = readText(firstGeneration);
  if (!former) return madeIdentifier();
  logger_.log(LogLevel::info, "Migrating old Sorn keychain key to v2...");
  keychain_.save(key + std::string(secondGeneration), former);
  return former;
}

std::string DeviceManager::makeIdentifier() {
  const std::string application = applicationKey();
  std::string identifier = application + "::" + support::makeUuid();
  {
    const std::lock_guard lock(mutex_);
    made_ = {application, identifier};
  }
  // Under both keys: an older version of this library still finds it.
  for (const std::string_view suffix : {firstGeneration, secondGeneration}) {
    const std::string key = application + std::string(suffix);
    logger_.log(LogLevel::info, [&] { return "Attempting saving of uuid info for key: " + key; });
    keychain_.save(key, identifier);
  }
  return identifier;
}

std::string DeviceManager::identifier() {
  if (std::optional<std::string> known = readIdentifier()) return *std::move(known);
  const std::lock_guard lock(makingMutex_);
  std::optional<std::string> known = readIdentifier();
  return known ? *std::move(known) : makeIdentifier();
}

}  // namespace sorn::device
