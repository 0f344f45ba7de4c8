#include "Host.h"

#include <fstream>
#include <stdexcept>
#include <system_error>

#include <sys/vfs.h>

#include "configuration/ConfigurationKeys.h"
#include "facade/Diagnostics.h"
#include "host/HeadlessPlatform.h"
#include "host/HostBundle.h"
#include "sorn-config/ConfigurationFile.h"

namespace sorn::bench {

namespace {

Dictionary sixValues() {
  return {{"product", "A rather ordinary garden chair"},
          {"price", 49.95},
          {"quantity", std::int64_t{3}},
          {"in_stock", true},
          {"category_path", "home.garden.furniture.chairs"},
          {"list_position", std::int64_t{17}}};
}

}  // namespace

Folder::Folder() {
  std::string name =
      (std::filesystem::read_symlink("/proc/self/exe").parent_path() / "bench-data-XXXXXX").string();
  if (!::mkdtemp(name.data())) throw std::runtime_error("no folder can be made beside the program");
  path_ = name;
}

Folder::~Folder() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

std::string Folder::fileSystem() const {
  struct statfs facts {};
  if (::statfs(path_.c_str(), &facts) != 0) return "unknown";
  switch (facts.f_type) {
    case 0xEF53:
      return "ext4";
    case 0x01021994:
      return "tmpfs (its figures say little about a disk)";
    case 0x58465342:
      return "xfs";
    case 0x9123683E:
      return "btrfs";
    case 0x794C7630:
      return "overlay";
    default:
      return "number " + std::to_string(facts.f_type);
  }
}

void writeConfiguration(const std::filesystem::path& folder, const std::string& origin) {
  config::Account account{std::string(accountKey), std::string(accountSecret),
                          std::string(configuration::developmentMode), origin};
  std::ofstream(folder / configurationName, std::ios::binary)
      << config::configurationText(account, configuration::PropertyListForm::xml);
}

std::unique_ptr<facade::Library> Host::make(const std::filesystem::path& folder) {
  auto bundle = std::make_shared<host::HostBundle>();
  bundle->setIdentifier(std::string(hostIdentifier));
  bundle->setVersion("1.0");
  bundle->addResourceDirectory(folder);
  platform::Platform ports;
  ports.bundle = std::move(bundle);
  host::fillHeadless(ports, host::XdgHomes::below(folder));
  return std::make_unique<facade::Library>(std::move(ports));
}

Host::Host(const std::filesystem::path& folder, const std::string& origin, std::int64_t batchSize)
    : owned_(make(folder)), library_(*owned_), data_(sixValues()) {
  writeConfiguration(folder, origin);
  // The settings are kept under the account's key, and the batch timer reads them once, at the start.
  support::Credentials account;
  account.applicationKey = accountKey;
  library_.account().set(std::move(account));
  setBatchSize(batchSize);
  library_.start(std::string(configurationName));
  waitUntilIdle();
  // The service has sent settings of its own meanwhile.
  setBatchSize(batchSize);
}

void Host::setBatchSize(std::int64_t events) {
  documents::Configuration configuration;
  configuration.features.reportUsage = true;
  configuration.eventOptions = {.batchTimeout = endless, .batchSize = events};
  library_.configuration().setConfiguration(configuration);
}

void Host::report() {
  library_.services().batch.startEventBatching(events::EventBatch::Trigger::timer);
  waitUntilIdle();
}

void Host::waitUntilIdle() { facade::Diagnostics(library_.sorn()).waitUntilIdle(); }

std::size_t Host::waiting() {
  return library_.context().performBlockAndWait([this] { return library_.services().events.pendingCount(); });
}

}  // namespace sorn::bench
