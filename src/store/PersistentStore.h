#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "sorn/platform/Deployment.h"
#include "store/BulkChanges.h"
#include "store/Predicate.h"
#include "store/Schema.h"
#include "store/sqlite/Database.h"
#include "support/Result.h"

namespace sorn::store {

// The database file: one table an entity, rows written and read by prepared statements. Nothing is kept in
// memory; what is unsaved belongs to the context. On the store's queue, but for `checkpointWhileQuiet`.
class PersistentStore {
 public:
  // Opens the file or makes it, and brings its tables up to date. Where that fails, the reason: the file is
  // corrupt, written by a newer version, held by another process, or no database at all; it is then left as
  // it was.
  using Opened = support::Result<std::unique_ptr<PersistentStore>, std::string>;
  static Opened open(const std::filesystem::path& file, platform::Durability durability);

  // Shows the rows in ascending order of their ids; the statement's column 0 is the row id, the entity's
  // columns follow, of which only those whose bits are set may be read. The visitor may not run another
  // `select` of the same condition and columns; it returns false to stop. False when not all rows could be
  // read.
  bool select(const EntityDescription& entity, const Predicate& predicate, RowRange range,
              std::uint64_t columns, const std::function<bool(const sqlite::Statement&)>& visitor);
  std::size_t count(const EntityDescription& entity, const Predicate& predicate);

  // Several writes as one transaction, which is rolled back unless all of them and its end succeed. A single
  // write needs none: it is one by itself.
  [[nodiscard]] bool inTransaction(const std::function<bool()>& writes);

  [[nodiscard]] bool insert(const EntityDescription& entity, std::int64_t rowID, std::span<const Cell> cells);
  // Writes the columns whose bits are set.
  [[nodiscard]] bool update(const EntityDescription& entity, std::int64_t rowID, std::uint64_t columns,
                            std::span<const Cell> cells);
  [[nodiscard]] bool remove(const EntityDescription& entity, std::int64_t rowID);
  [[nodiscard]] bool apply(const BulkChange& change);

  // Whether the last write that failed did so because the file is damaged.
  bool isDamaged() const { return isDamaged_ || database_.lastFailedByDamage(); }

  // Ids below this one are taken.
  std::int64_t reservedRowIDs() const { return reservedRowIDs_; }
  [[nodiscard]] bool reserveRowIDs(std::int64_t bound);

  // After each save. Keeps the log from growing without bound while nobody rests, by a pass within the turn.
  // True when the log has grown by so much that `checkpointWhileQuiet` had better run now: then that pass has
  // little left to do.
  bool checkpointIfLong();
  // Moves the log into the database on a connection of its own, so that writers need not wait. Any one
  // thread.
  void checkpointWhileQuiet();

 private:
  PersistentStore(std::filesystem::path file, platform::Durability durability)
      : file_(std::move(file)), durability_(durability) {}
  using Done = support::Result<void, std::string>;
  Done openDatabase();
  // Whether the file is new or this library's, in a version that it knows. Changes nothing.
  Done isOurs();
  bool configure(sqlite::Database& database) const;
  Done migrate();
  bool createTables();
  support::Failure<std::string> databaseFailure() const { return support::Failure(database_.lastError()); }
  bool createMissing(const EntityDescription& entity);
  bool probe();
  sqlite::Statement& statement(const std::string& sql);
  sqlite::Statement& selectStatement(const EntityDescription& entity, const Predicate& predicate,
                                     std::uint64_t columns, std::vector<const Cell*>& values);

  const std::filesystem::path file_;
  const platform::Durability durability_;
  sqlite::Database database_;
  std::unordered_map<std::string, sqlite::Statement> statements_;
  sqlite::Statement unprepared_;  // stands for one that could not be prepared: it fails
  // The statement that runs for each stored event, found without building its text.
  const EntityDescription* lastInserted_ = nullptr;
  sqlite::Statement* lastInsert_ = nullptr;
  // The same for the one that runs for each piece of a report.
  const EntityDescription* lastScanned_ = nullptr;
  std::uint64_t lastColumns_ = 0;
  sqlite::Statement* lastScan_ = nullptr;
  std::int64_t reservedRowIDs_ = 1;
  bool isDamaged_ = false;
  sqlite::Database checkpointer_;
  int askedAtPages_ = 0;  // length of the log when a pass was last asked for
};

}  // namespace sorn::store
