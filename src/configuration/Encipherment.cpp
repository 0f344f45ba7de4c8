#include "configuration/Encipherment.h"

#include <utility>

#include "configuration/ConfigurationKeys.h"
#include "support/Base64.h"
#include "support/Cipher.h"
#include "support/Fault.h"
#include "support/json/Json.h"

namespace sorn::configuration {

using support::CipherOperation;

std::optional<std::string> deciphered(const std::string& value, WhenDamaged whenDamaged) {
  const std::optional<std::string> bytes = support::base64Decode(value);
  if (!bytes) return std::nullopt;
  const std::string key = support::hexBytes(configurationKeyText);
  const std::string vector = support::hexBytes(configurationVectorText);
  support::CipherResult text = whenDamaged == WhenDamaged::fault
                                   ? support::crypt(key, vector, CipherOperation::decrypt, *bytes)
                                   : support::tryCrypt(key, vector, CipherOperation::decrypt, *bytes);
  // With a wrong key the padding is right once in 256 times.
  if (!text || !support::isValidUtf8(*text)) return std::nullopt;
  return *std::move(text);
}

std::string enciphered(const std::string& text) {
  const auto bytes =
      support::tryCrypt(support::hexBytes(configurationKeyText), support::hexBytes(configurationVectorText),
                        CipherOperation::encrypt, text);
  if (!bytes) support::fault("a cipher that enciphers any text");
  return support::base64Encode(*bytes);
}

}  // namespace sorn::configuration
