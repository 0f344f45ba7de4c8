#include "store/PersistentStore.h"

#include <cstring>
#include <optional>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace sorn::store {

namespace {

// Marks the file as this library's ("SORN").
constexpr std::int64_t applicationID = 0x534F524E;
// Grows with each change of the tables. Columns, tables and indexes that an older file lacks are added.
constexpr std::int64_t schemaVersion = 1;
// Beyond this many pages in the log, 16 MB, one pass runs within a save although nobody has rested.
constexpr int longestLog = 8000;
// After each so many further pages the worker has a go, although nobody has rested; the last time comes
// shortly before the pass within a save, which then finds little left to copy and to wait for.
constexpr int longLog = 2550;

std::string_view sqlType(ColumnType type) {
  switch (type) {
    case ColumnType::text:
      return " TEXT";
    case ColumnType::real:
      return " REAL";
    case ColumnType::integer:
    case ColumnType::reference:
      return " INTEGER";
  }
  return "";
}

// Up to the last of the wanted columns, each in its place.
std::string columnList(const EntityDescription& entity, std::uint64_t columns = allColumns) {
  std::string list = "id";
  for (const Column& column : entity.columns) {
    if (columns == 0) break;
    list.append(", ").append((columns & 1) != 0 ? column.name : "NULL");
    columns >>= 1;
  }
  return list;
}

// Makes sure that there is a file which only its owner can read, and that what it holds may be a database.
// SQLite would make one with wider rights, and would empty or overwrite some files that are none.
support::Result<void, std::string> prepareFile(const std::filesystem::path& file) {
  // What is no file, a pipe for instance, must not keep the library waiting.
  constexpr int flags = O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK;
  const int descriptor = ::open(file.c_str(), flags, 0600);
  if (descriptor < 0) return support::Failure(std::string(std::strerror(errno)));
  constexpr std::string_view magic("SQLite format 3\0", 16);
  char begin[16] = {};
  struct stat status {};
  const bool isFile = ::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode);
  const ssize_t length = isFile ? ::read(descriptor, begin, sizeof begin) : -1;
  ::close(descriptor);
  if (length < 0) return support::Failure(std::string("not a readable file"));
  if (length != 0 && std::string_view(begin, static_cast<std::size_t>(length)) != magic) {
    return support::Failure(std::string("not a database"));
  }
  return {};
}

}  // namespace

PersistentStore::Opened PersistentStore::open(const std::filesystem::path& file,
                                              platform::Durability durability) {
  if (auto prepared = prepareFile(file); !prepared) return support::Failure(prepared.error());
  std::unique_ptr<PersistentStore> store(new PersistentStore(file, durability));
  if (auto opened = store->openDatabase(); !opened) return support::Failure(opened.error());
  return store;
}

// Whose file it is comes before anything is set: the settings of the journal would already be written into
// it.
PersistentStore::Done PersistentStore::openDatabase() {
  if (!database_.open(file_)) return databaseFailure();
  if (Done ours = isOurs(); !ours) return ours;
  for (const char* end : {"", "-wal"}) ::chmod((file_.string() + end).c_str(), 0600);
  if (!configure(database_)) return databaseFailure();
  if (Done migrated = migrate(); !migrated) return migrated;
  const std::optional<std::int64_t> bound = database_.integer("SELECT bound FROM SNRowIDs");
  if (!bound || !probe()) return databaseFailure();
  reservedRowIDs_ = *bound;
  return {};
}

bool PersistentStore::configure(sqlite::Database& database) const {
  // The page size counts for a new file only. Check-points run on their own, never inside a commit: the hook
  // that counts the log's pages has taken the place of the automatic ones. Debian's SQLite overwrites what is
  // deleted; here it does so where that takes no further writing, so not in pages that become free as a
  // whole.
  return database.execute("PRAGMA page_size=2048") && database.execute("PRAGMA secure_delete=FAST") &&
         database.execute("PRAGMA journal_mode=WAL") && database.execute("PRAGMA temp_store=MEMORY") &&
         database.execute("PRAGMA cache_size=-1024") &&
         database.execute(durability_ == platform::Durability::power ? "PRAGMA synchronous=FULL"
                                                                     : "PRAGMA synchronous=NORMAL");
}

PersistentStore::Done PersistentStore::isOurs() {
  const std::optional<std::int64_t> version = database_.integer("PRAGMA user_version");
  const std::optional<std::int64_t> application = database_.integer("PRAGMA application_id");
  // A new file has no mark yet, and no tables.
  const bool isMarked = application == applicationID;
  const std::optional<std::int64_t> tables =
      isMarked ? 0 : database_.integer("SELECT count(*) FROM sqlite_master");
  if (!version || !application || !tables) return databaseFailure();
  if (*version > schemaVersion) return support::Failure(std::string("written by a newer version"));
  if (*tables > 0) return support::Failure(std::string("another application's database"));
  return {};
}

PersistentStore::Done PersistentStore::migrate() {
  if (database_.integer("PRAGMA user_version") == schemaVersion) return {};
  std::string reason;
  const bool isDone = inTransaction([&] {
    const bool areMade = createTables();
    if (!areMade) reason = database_.lastError();
    return areMade;
  });
  if (isDone) return {};
  return reason.empty() ? databaseFailure() : support::Failure(reason);
}

bool PersistentStore::createTables() {
  bool succeeded = true;
  for (const EntityDescription* entity : allEntities()) succeeded = succeeded && createMissing(*entity);
  return succeeded && database_.execute("CREATE TABLE IF NOT EXISTS SNRowIDs (bound INTEGER NOT NULL)") &&
         database_.execute("INSERT INTO SNRowIDs SELECT 1 WHERE NOT EXISTS (SELECT 1 FROM SNRowIDs)") &&
         database_.execute(("PRAGMA application_id=" + std::to_string(applicationID)).c_str()) &&
         database_.execute(("PRAGMA user_version=" + std::to_string(schemaVersion)).c_str());
}

bool PersistentStore::createMissing(const EntityDescription& entity) {
  const std::string table(entity.name);
  std::string definition = "CREATE TABLE IF NOT EXISTS " + table + " (id INTEGER PRIMARY KEY";
  for (const Column& column : entity.columns) {
    definition.append(", ").append(column.name).append(sqlType(column.type));
  }
  bool succeeded = database_.execute((definition + ")").c_str());
  // The columns one by one only for a table of an older version: each of them reads the whole schema anew.
  const auto present = database_.integer("SELECT count(*) - 1 FROM pragma_table_info('" + table + "')");
  const bool isWhole = present == static_cast<std::int64_t>(entity.columns.size());
  for (const Column& column : isWhole ? std::span<const Column>() : entity.columns) {
    const std::string name(column.name);
    std::string isThere = "SELECT count(*) FROM pragma_table_info('";
    isThere.append(table).append("') WHERE name = '").append(name).append("'");
    if (database_.integer(isThere) == 1) continue;
    std::string add = "ALTER TABLE ";
    add.append(table).append(" ADD COLUMN ").append(name).append(sqlType(column.type));
    succeeded = succeeded && database_.execute(add.c_str());
  }
  for (const Index& index : entity.indexes) {
    std::string create = "CREATE INDEX IF NOT EXISTS " + std::string(index.name) + " ON " + table + " (" +
                         std::string(index.columns) + ")";
    if (!index.condition.empty()) create += " WHERE " + std::string(index.condition);
    succeeded = succeeded && database_.execute(create.c_str());
  }
  return succeeded;
}

// Reads the root of every table, so that a file with a part missing shows now rather than in the middle of
// the work. The columns are not named: resolving them would take as long as all the rest of the opening.
bool PersistentStore::probe() {
  for (const EntityDescription* entity : allEntities()) {
    sqlite::Statement read =
        database_.prepare("SELECT 1 FROM " + std::string(entity->name) + " NOT INDEXED LIMIT 1");
    read.nextRow();
    if (!read || read.failed()) return false;
  }
  return true;
}

sqlite::Statement& PersistentStore::statement(const std::string& sql) {
  const auto found = statements_.find(sql);
  if (found != statements_.end()) return found->second;
  sqlite::Statement prepared = database_.prepare(sql);
  // A failure may be over the next time.
  return prepared ? statements_.emplace(sql, std::move(prepared)).first->second : unprepared_;
}

sqlite::Statement& PersistentStore::selectStatement(const EntityDescription& entity,
                                                    const Predicate& predicate, std::uint64_t columns,
                                                    std::vector<const Cell*>& values) {
  const bool isScan = predicate.isEverything();
  if (isScan && lastScan_ && *lastScan_ && lastScanned_ == &entity && lastColumns_ == columns)
    return *lastScan_;
  const std::string condition = predicate.sql(entity.columns, values);
  sqlite::Statement& select =
      statement("SELECT " + columnList(entity, columns) + " FROM " + std::string(entity.name) +
                " WHERE id BETWEEN ? AND ? AND " + condition + " ORDER BY id");
  if (isScan) {
    lastScan_ = &select;
    lastScanned_ = &entity;
    lastColumns_ = columns;
  }
  return select;
}

bool PersistentStore::select(const EntityDescription& entity, const Predicate& predicate, RowRange range,
                             std::uint64_t columns,
                             const std::function<bool(const sqlite::Statement&)>& visitor) {
  std::vector<const Cell*> values;
  sqlite::Statement& select = selectStatement(entity, predicate, columns, values);
  select.bind(1, range.first);
  select.bind(2, range.last);
  int parameter = 3;
  for (const Cell* value : values) select.bind(parameter++, *value);
  while (select.nextRow() && visitor(select)) {
  }
  const bool isWhole = !select.failed();
  select.reset();
  return isWhole;
}

std::size_t PersistentStore::count(const EntityDescription& entity, const Predicate& predicate) {
  std::vector<const Cell*> values;
  const std::string condition = predicate.sql(entity.columns, values);
  sqlite::Statement& select =
      statement("SELECT count(*) FROM " + std::string(entity.name) + " WHERE " + condition);
  if (!select) return 0;
  int parameter = 1;
  for (const Cell* value : values) select.bind(parameter++, *value);
  const std::int64_t count = select.nextRow() ? select.integer(0) : 0;
  select.reset();
  return static_cast<std::size_t>(count);
}

// What went wrong is looked at before the transaction rolls back, which is an operation of its own.
bool PersistentStore::inTransaction(const std::function<bool()>& writes) {
  sqlite::Transaction transaction(database_);
  if (transaction.hasBegun() && writes() && transaction.commit()) return true;
  isDamaged_ = isDamaged_ || database_.lastFailedByDamage();
  return false;
}

bool PersistentStore::insert(const EntityDescription& entity, std::int64_t rowID,
                             std::span<const Cell> cells) {
  if (lastInserted_ != &entity || !*lastInsert_) {
    std::string sql = "INSERT INTO " + std::string(entity.name) + " (" + columnList(entity) + ") VALUES (?";
    for (std::size_t column = 0; column < entity.columns.size(); ++column) sql += ", ?";
    lastInsert_ = &statement(sql + ")");
    lastInserted_ = &entity;
  }
  lastInsert_->bind(1, rowID);
  int parameter = 2;
  for (const Cell& cell : cells) lastInsert_->bind(parameter++, cell);
  return lastInsert_->run();
}

bool PersistentStore::update(const EntityDescription& entity, std::int64_t rowID, std::uint64_t columns,
                             std::span<const Cell> cells) {
  std::string sql;
  for (std::size_t column = 0; column < cells.size(); ++column) {
    if ((columns >> column & 1) == 0) continue;
    sql.append(sql.empty() ? "UPDATE " + std::string(entity.name) + " SET " : ", ");
    sql.append(entity.columns[column].name).append(" = ?");
  }
  sqlite::Statement& update = statement(sql + " WHERE id = ?");
  int parameter = 1;
  for (std::size_t column = 0; column < cells.size(); ++column) {
    if ((columns >> column & 1) != 0) update.bind(parameter++, cells[column]);
  }
  update.bind(parameter, rowID);
  return update.run();
}

bool PersistentStore::remove(const EntityDescription& entity, std::int64_t rowID) {
  sqlite::Statement& remove = statement("DELETE FROM " + std::string(entity.name) + " WHERE id = ?");
  remove.bind(1, rowID);
  return remove.run();
}

bool PersistentStore::apply(const BulkChange& change) {
  const std::string table(change.entity->name);
  std::string sql = "DELETE FROM " + table;
  int parameter = 1;
  if (change.status) {
    const std::string status(change.entity->columns[change.entity->statusColumn + 1].name);
    const std::string date(change.entity->columns[change.entity->statusColumn + 2].name);
    sql = "UPDATE " + table + " SET " + status + " = ?, " + date + " = ?";
    parameter = 3;
  }
  sqlite::Statement& run = statement(sql + " WHERE id BETWEEN ? AND ?");
  for (const RowRange& range : change.rows.ranges()) {
    if (change.status) {
      run.bind(1, *change.status);
      run.bind(2, change.date);
    }
    run.bind(parameter, range.first);
    run.bind(parameter + 1, range.last);
    if (!run.run()) return false;
  }
  return true;
}

bool PersistentStore::reserveRowIDs(std::int64_t bound) {
  sqlite::Statement& update = statement("UPDATE SNRowIDs SET bound = ?");
  update.bind(1, bound);
  return update.run();
}

bool PersistentStore::checkpointIfLong() {
  const int pages = database_.logPages();
  if (pages >= longestLog) database_.checkpoint();
  if (pages < askedAtPages_) askedAtPages_ = 0;  // the log has begun anew
  if (pages - askedAtPages_ < longLog) return false;
  askedAtPages_ = pages;
  return true;
}

void PersistentStore::checkpointWhileQuiet() {
  if (!checkpointer_.isOpen() && (!checkpointer_.open(file_) || !configure(checkpointer_))) {
    checkpointer_.close();
    return;
  }
  checkpointer_.checkpoint();
  checkpointer_.flushToDisk();
}

}  // namespace sorn::store
