#include "store/CoreDataManager.h"

#include <memory>
#include <string>
#include <system_error>

#include "support/AtomicFile.h"

namespace sorn::store {

namespace {

// How long nobody may have touched the store before its log is moved into the database.
constexpr std::chrono::milliseconds quietTime{50};

}  // namespace

CoreDataManager::CoreDataManager(platform::Directories& directories, const platform::Clock& clock,
                                 platform::Durability durability, support::Logger& logger)
    : directories_(directories), durability_(durability), logger_(logger), context_(queue_, clock, nullptr) {
  queue_.setQuietHandler(quietTime, [this] {
    if (PersistentStore* const store = store_) store->checkpointWhileQuiet();
  });
  queue_.performBlock([this] { openStore(); });
}

CoreDataManager::~CoreDataManager() = default;

void CoreDataManager::openStore() {
  const std::vector<std::filesystem::path> candidates = directories_.documents();
  if (candidates.empty()) {
    logStoreIsMissing("no home directory");
    return;
  }
  const std::filesystem::path& directory = candidates.back();
  if (const auto made = support::makePrivateFolders(directory); !made) {
    // The directory is the one for documents, whatever the line calls it: the text is kept as it is known.
    logger_.log(support::LogLevel::error,
                [&] { return "Error while creating application support dir: " + made.error().message(); });
  }
  auto store = PersistentStore::open(directory / databaseName, durability_);
  if (!store) {
    logStoreIsMissing(store.error());
    return;
  }
  store_ = store->get();
  context_.setStore(*std::move(store), [this](const std::string& damage) {
    store_ = nullptr;
    logStoreIsMissing(damage);
  });
}

void CoreDataManager::logStoreIsMissing(const std::string& reason) {
  logger_.log(support::LogLevel::error, "ERROR WHILE CREATING PERSISTENT STORE COORDINATOR!");
  logger_.log(support::LogLevel::error, [&] { return "The store is not available: " + reason; });
}

}  // namespace sorn::store
