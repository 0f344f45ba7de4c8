#pragma once

#include <atomic>
#include <filesystem>
#include <string>
#include <string_view>

#include "sorn/platform/Clock.h"
#include "sorn/platform/Deployment.h"
#include "sorn/platform/Directories.h"
#include "store/ManagedObjectContext.h"
#include "support/Logger.h"
#include "support/SerialQueue.h"

namespace sorn::store {

// Opens the library's database in the documents directory and puts a context over it. The file is opened on
// the context's queue, so that nobody waits for the disk before the first record is wanted.
class CoreDataManager {
 public:
  static constexpr std::string_view databaseName = "SNSornDB.sqlite";

  CoreDataManager(platform::Directories& directories, const platform::Clock& clock,
                  platform::Durability durability, support::Logger& logger);
  ~CoreDataManager();

  // Always there. When the store could not be added it keeps records in memory and every save fails.
  ManagedObjectContext& context() { return context_; }

 private:
  void openStore();
  void logStoreIsMissing(const std::string& reason);

  platform::Directories& directories_;
  const platform::Durability durability_;
  support::Logger& logger_;
  std::atomic<PersistentStore*> store_ = nullptr;  // the context's, as long as its file is whole
  ManagedObjectContext context_;
  support::SerialQueue queue_;  // ends first: its last blocks still use the context
};

}  // namespace sorn::store
