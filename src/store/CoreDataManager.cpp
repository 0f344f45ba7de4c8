#include "store/CoreDataManager.h"

#include <memory>
#include <string>
#include <system_error>

#include <sys/stat.h>

namespace sorn::store {

namespace {

// How long nobody may have touched the store before its log is moved into the database.
constexpr std::chrono::milliseconds quietTime{50};

// Makes the directory and what is missing above it, readable by its owner alone.
std::error_code createPrivateDirectory(const std::filesystem::path& directory) {
  std::error_code error;
  std::filesystem::path path;
  for (const std::filesystem::path& part : directory) {
    path /= part;
    if (std::filesystem::is_directory(path, error)) continue;
    if (::mkdir(path.c_str(), 0700) != 0 && errno != EEXIST) return {errno, std::generic_category()};
  }
  return {};
}

}  // namespace

CoreDataManager::CoreDataManager(platform::Directories& directories, const platform::Clock& clock,
                                 platform::Durability durability, support::Logger& logger)
    : directories_(directories), durability_(durability), logger_(logger), context_(queue_, clock, nullptr) {
  queue_.setQuietHandler(quietTime, [this] {
    if (store_) store_->checkpointWhileQuiet();
  });
  queue_.performBlock([this] { openStore(); });
}

CoreDataManager::~CoreDataManager() = default;

void CoreDataManager::openStore() {
  const std::vector<std::filesystem::path> candidates = directories_.documents();
  std::string reason = "no home directory";
  std::unique_ptr<PersistentStore> store;
  if (!candidates.empty()) {
    const std::filesystem::path& directory = candidates.back();
    if (const std::error_code error = createPrivateDirectory(directory)) {
      // The directory is the one for documents, whatever the line calls it: the text is kept as it is known.
      logger_.log(support::LogLevel::error,
                  [&] { return "Error while creating application support dir: " + error.message(); });
    }
    store = PersistentStore::open(directory / databaseName, durability_, reason);
  }
  if (!store) {
    logger_.log(support::LogLevel::error, "ERROR WHILE CREATING PERSISTENT STORE COORDINATOR!");
    logger_.log(support::LogLevel::error, [&] { return "The store is not available: " + reason; });
    return;
  }
  store_ = store.get();
  context_.setStore(std::move(store));
}

}  // namespace sorn::store
