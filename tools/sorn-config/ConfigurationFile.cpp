#include "sorn-config/ConfigurationFile.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <system_error>
#include <utility>

#include "configuration/ConfigurationKeys.h"
#include "configuration/Encipherment.h"
#include "support/TextTrim.h"
#include "support/Url.h"
#include "support/json/Json.h"

namespace sorn::config {

namespace {

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
    texts[entry.name] = entry.isEnciphered ? configuration::enciphered(value) : value;
  }
  return configuration::propertyListText(texts, form);
}

support::Result<Account, std::string> readConfiguration(const std::filesystem::path& file) {
  const auto fail = [](std::string reason) { return support::Failure(std::move(reason)); };
  std::error_code status;
  if (!std::filesystem::exists(file, status)) return fail("there is no such file");
  const std::optional<configuration::TextDictionary> texts = configuration::readPropertyList(file);
  if (!texts) return fail("this is no readable property list with a dictionary of texts");
  Account account;
  for (const Entry& entry : entries) {
    const auto found = texts->find(entry.name);
    if (found == texts->end()) return fail("\"" + std::string(entry.name) + "\" is missing");
    const auto value = entry.isEnciphered
                           ? configuration::deciphered(found->second, configuration::WhenDamaged::absent)
                           : std::optional(found->second);
    if (!value) return fail("\"" + std::string(entry.name) + "\" can't be deciphered");
    account.*entry.value = *value;
  }
  std::string fault = faultOf(account);
  if (!fault.empty()) return fail(std::move(fault));
  return account;
}

}  // namespace sorn::config
