#include "device/KeychainWrapper.h"

namespace sorn::device {

using platform::SecureStore;

std::optional<std::string> KeychainWrapper::service(std::string_view key) const {
  std::optional<std::string> service = bundle_.identifier();
  if (service) service->append(".").append(key);
  return service;
}

SecureStore::ReadResult KeychainWrapper::read(std::string_view key) const {
  const std::optional<std::string> item = service(key);
  if (!item) return {SecureStore::itemNotFound, std::nullopt};
  SecureStore::ReadResult result = store_.read(*item);
  if (result.status == SecureStore::success) return result;
  result.bytes.reset();
  if (result.status != SecureStore::itemNotFound) {
    logger_.log(support::LogLevel::error, [&] {
      return "Nothing was retrieved from the keychain. Status code " + std::to_string(result.status);
    });
  }
  return result;
}

SecureStore::Status KeychainWrapper::save(std::string_view key, const std::optional<std::string>& value) {
  const std::optional<std::string> item = service(key);
  if (!item) return SecureStore::itemNotFound;
  const SecureStore::Status removed = store_.remove(*item);
  return value ? store_.add(*item, *value) : removed;
}

}  // namespace sorn::device
