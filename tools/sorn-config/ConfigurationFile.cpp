#include "sorn-config/ConfigurationFile.h"

#include <array>
#include <system_error>

#include "support/Base64.h"
#include "support/Cipher.h"
#include "support/ConfigurationKeys.h"
#include "support/Fault.h"
#include "support/Json.h"

namespace sorn::config {

namespace {

support::CipherResult crypt(support::CipherOperation operation, const std::string& input) {
  return support::tryCrypt(support::hexBytes(support::configurationKeyText),
                           support::hexBytes(support::configurationVectorText), operation, input);
}

std::string enciphered(const std::string& text) {
  const support::CipherResult result = crypt(support::CipherOperation::encrypt, text);
  if (result.status != support::CipherStatus::success) support::fault("a cipher that enciphers any text");
  return support::base64Encode(result.output);
}

std::optional<std::string> deciphered(const std::string& text) {
  const std::optional<std::string> bytes = support::base64Decode(text);
  if (!bytes) return std::nullopt;
  support::CipherResult result = crypt(support::CipherOperation::decrypt, *bytes);
  if (result.status != support::CipherStatus::success || !support::isValidUtf8(result.output))
    return std::nullopt;
  return std::move(result.output);
}

struct Entry {
  const char* name;
  std::string Account::*value;
  bool isEnciphered;
};

constexpr std::array<Entry, 4> entries{{{support::applicationKeyEntry, &Account::key, true},
                                        {support::applicationSecretEntry, &Account::secret, true},
                                        {support::modeEntry, &Account::mode, false},
                                        {support::environmentEntry, &Account::environment, true}}};

}  // namespace

std::string configurationText(const Account& account, support::PropertyListForm form) {
  support::TextDictionary texts;
  for (const Entry& entry : entries) {
    const std::string& value = account.*entry.value;
    texts[entry.name] = entry.isEnciphered ? enciphered(value) : value;
  }
  return support::propertyListText(texts, form);
}

std::optional<Account> readConfiguration(const std::filesystem::path& file, std::string& error) {
  std::error_code status;
  if (!std::filesystem::exists(file, status)) {
    error = "there is no such file";
    return std::nullopt;
  }
  const std::optional<support::TextDictionary> texts = support::readPropertyList(file);
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
  return account;
}

}  // namespace sorn::config
