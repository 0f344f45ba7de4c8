#include "facade/Startup.h"

#include <utility>

#include "configuration/ConfigurationKeys.h"
#include "configuration/Encipherment.h"
#include "configuration/PropertyList.h"
#include "sorn/SornError.h"
#include "support/TextTrim.h"
#include "sync/MaintenanceRoutine.h"

namespace sorn::facade {

namespace {

using Code = SornError::Code;

constexpr std::string_view pathOfEndpoints = "/endpoints/v2/";

std::string withoutExtension(std::string_view file) {
  constexpr std::string_view extension = ".plist";
  std::string name(file);
  // Every occurrence goes, not only one at the end.
  for (std::size_t at = name.find(extension); at != std::string::npos; at = name.find(extension, at)) {
    name.erase(at, extension.size());
  }
  return name;
}

configuration::TextDictionary readConfiguration(const platform::Bundle& bundle, const std::string& name) {
  const auto file = bundle.resource(name, "plist");
  if (!file) throw SornError::plain(Code::invalidConfigurationFile);
  auto values = configuration::readPropertyList(*file);
  if (!values) throw SornError::plain(Code::invalidConfigurationFile);
  for (const char* key : {configuration::applicationKeyEntry, configuration::applicationSecretEntry,
                          configuration::modeEntry, configuration::environmentEntry}) {
    if (!values->contains(key)) throw SornError::plain(Code::invalidConfigurationArguments);
  }
  return *std::move(values);
}

SornMode modeOf(std::string_view text) {
  if (text == configuration::developmentMode) return SornMode::development;
  if (text == configuration::productionMode) return SornMode::production;
  throw SornError::plain(Code::undefinedMode);
}

std::string decipher(const std::string& value, Code failure) {
  auto text = configuration::deciphered(value, configuration::WhenDamaged::fault);
  if (!text || support::trimWhitespaceAndNewlines(*text).empty()) throw SornError::plain(failure);
  return *std::move(text);
}

}  // namespace

void Startup::start(std::string_view file, const HandOver& handOver) {
  if (state_.didStart) return;
  const std::string name = withoutExtension(file);
  const configuration::TextDictionary values = readConfiguration(bundle_, name);
  const SornMode mode = modeOf(values.at(configuration::modeEntry));
  support::Credentials credentials;
  credentials.applicationKey = decipher(values.at(configuration::applicationKeyEntry), Code::invalidAppKey);
  credentials.applicationSecret =
      decipher(values.at(configuration::applicationSecretEntry), Code::invalidAppSecret);
  credentials.environment = values.at(configuration::environmentEntry);
  credentials.baseURL = decipher(values.at(configuration::environmentEntry), Code::invalidEnvironment) +
                        std::string(pathOfEndpoints);
  account_.set(std::move(credentials));
  handOver.beforeNameIsKept();
  using sync::MaintenanceRoutine;
  defaults_.set(MaintenanceRoutine::lastStart,
                Dictionary{{std::string(MaintenanceRoutine::startFileName), name}});
  handOver.reconcile(mode);
}

}  // namespace sorn::facade
