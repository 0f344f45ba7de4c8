#include "sorn-config/ConfigurationFile.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <system_error>
#include <utility>

#include "configuration/ConfigurationKeys.h"
#include "support/Base64.h"
#include "support/Cipher.h"
#include "support/Fault.h"
#include "support/TextTrim.h"
#include "support/Url.h"
#include "support/json/Json.h"

namespace sorn::config {

namespace {

support::CipherResult crypt(support::CipherOperation operation, const std::string& input) {
  return support::tryCrypt(support::hexBytes(configuration::configurationKeyText),
                           support::hexBytes(configuration::configurationVectorText), operation, input);
}

std::string enciphered(const std::string& text) {
  const support::CipherResult result = crypt(support::CipherOperation::encrypt, text);
  if (!result) support::fault("a cipher that enciphers any text");
  return support::base64Encode(*result);
}

std::optional<std::string> deciphered(const std::string& text) {
  const std::optional<std::string> bytes = support::base64Decode(text);
  if (!bytes) return std::nullopt;
  support::CipherResult result = crypt(support::CipherOperation::decrypt, *bytes);
  if (!result || !support::isValidUtf8(*result)) return std::nullopt;
  return *std::move(result);
}

struct Entry {
  const char* name;
  std::string Account::*value;
  bool isEnciphered;
};

constexpr std::array<Entry, 4> entries{{{configuration::applicationKeyEntry, &Account::key, true},
                                        {configuration::applicationSecretEntry, &Account::secret, true},
                                        {configuration::modeEntry, &Account::mode, false},
                                        {configuration::environmentEntry, &Account::environment, true}}};

// What the library's start takes for nothing, and so would refuse on the user's device.
bool isBlank(std::string_view text) { return support::trimWhitespaceAndNewlines(text).empty(); }

// The key stands in a header of every call, where a line end or another control would break it.
bool holdsControl(std::string_view text) {
  return std::any_of(text.begin(), text.end(),
                     [](char one) { return (one >= 0 && one < ' ') || one == 0x7F; });
}

bool isOrigin(const std::string& text) {
  const std::optional<support::Url> url = support::Url::parse(text);
  if (!url || !url->host()) return false;
  const int port = url->port().value_or(443);
  return (url->scheme() == "https" || url->scheme() == "http") && port >= 1 && port <= 65535;
}

}  // namespace

std::string faultOf(const Account& account) {
  for (const auto& [name, text] : {std::pair("key", account.key), std::pair("secret", account.secret)}) {
    const std::string subject = "the " + std::string(name);
    if (!support::isValidUtf8(text)) return subject + " is not valid UTF-8";
    if (isBlank(text)) return subject + " is missing or blank";
    if (holdsControl(text)) return subject + " holds a control character";
  }
  if (account.mode != configuration::developmentMode && account.mode != configuration::productionMode) {
    return "the mode must be development or production";
  }
  return isOrigin(account.environment) ? ""
                                       : "the environment must be a web address, https://HOST or http://HOST";
}

std::string configurationText(const Account& account, configuration::PropertyListForm form) {
  configuration::TextDictionary texts;
  for (const Entry& entry : entries) {
    const std::string& value = account.*entry.value;
    texts[entry.name] = entry.isEnciphered ? enciphered(value) : value;
  }
  return configuration::propertyListText(texts, form);
}

std::optional<Account> readConfiguration(const std::filesystem::path& file, std::string& error) {
  std::error_code status;
  if (!std::filesystem::exists(file, status)) {
    error = "there is no such file";
    return std::nullopt;
  }
  const std::optional<configuration::TextDictionary> texts = configuration::readPropertyList(file);
  if (!texts) {
    error = "this is no readable property list with a dictionary of texts";
    return std::nullopt;
  }
  Account account;
  for (const Entry& entry : entries) {
    const auto found = texts->find(entry.name);
    if (found == texts->end()) {
      error = "\"" + std::string(entry.name) + "\" is missing";
      return std::nullopt;
    }
    const auto value = entry.isEnciphered ? deciphered(found->second) : std::optional(found->second);
    if (!value) {
      error = "\"" + std::string(entry.name) + "\" can't be deciphered";
      return std::nullopt;
    }
    account.*entry.value = *value;
  }
  error = faultOf(account);
  return error.empty() ? std::optional(account) : std::nullopt;
}

}  // namespace sorn::config
