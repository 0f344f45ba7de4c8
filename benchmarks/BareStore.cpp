#include "BareStore.h"

#include <stdexcept>

#include <sqlite3.h>

namespace sorn::bench {

namespace {

void expect(bool holds, sqlite3* database) {
  if (!holds) throw std::runtime_error(sqlite3_errmsg(database));
}

}  // namespace

sqlite3* openBare(const std::filesystem::path& file) {
  sqlite3* database = nullptr;
  constexpr int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX;
  expect(sqlite3_open_v2(file.c_str(), &database, flags, "unix-excl") == SQLITE_OK, database);
  for (const char* setting : {"PRAGMA page_size=2048", "PRAGMA journal_mode=WAL",
                              "PRAGMA wal_autocheckpoint=0", "PRAGMA synchronous=NORMAL"}) {
    expect(sqlite3_exec(database, setting, nullptr, nullptr, nullptr) == SQLITE_OK, database);
  }
  return database;
}

sqlite3_stmt* prepareBare(sqlite3* database, const char* sql) {
  sqlite3_stmt* statement = nullptr;
  expect(sqlite3_prepare_v3(database, sql, -1, SQLITE_PREPARE_PERSISTENT, &statement, nullptr) == SQLITE_OK,
         database);
  return statement;
}

BareStore::BareStore(const std::filesystem::path& file) : database_(openBare(file)) {
  execute("CREATE TABLE bare (id INTEGER PRIMARY KEY, text TEXT)");
  insert_ = prepareBare(database_, "INSERT INTO bare (text) VALUES (?)");
  select_ = prepareBare(database_, "SELECT text FROM bare ORDER BY id");
  remove_ = prepareBare(database_, "DELETE FROM bare WHERE id BETWEEN 1 AND 1000000000");
}

BareStore::~BareStore() {
  for (sqlite3_stmt* statement : {insert_, select_, remove_}) sqlite3_finalize(statement);
  sqlite3_close(database_);
}

void BareStore::insert(std::string_view text) {
  sqlite3_bind_text(insert_, 1, text.data(), static_cast<int>(text.size()), SQLITE_STATIC);
  expect(sqlite3_step(insert_) == SQLITE_DONE, database_);
  sqlite3_reset(insert_);
}

void BareStore::insertMany(std::size_t rows, std::string_view text) {
  execute("BEGIN");
  for (std::size_t row = 0; row < rows; ++row) insert(text);
  execute("COMMIT");
}

void BareStore::checkpoint() {
  sqlite3_wal_checkpoint_v2(database_, nullptr, SQLITE_CHECKPOINT_PASSIVE, nullptr, nullptr);
}

void BareStore::appendAll(std::string& out) {
  bool isFirst = true;
  while (sqlite3_step(select_) == SQLITE_ROW) {
    if (!isFirst) out += ',';
    isFirst = false;
    const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(select_, 0));
    out.append(text, static_cast<std::size_t>(sqlite3_column_bytes(select_, 0)));
  }
  sqlite3_reset(select_);
}

void BareStore::removeAll() {
  expect(sqlite3_step(remove_) == SQLITE_DONE, database_);
  sqlite3_reset(remove_);
}

void BareStore::execute(const char* sql) {
  expect(sqlite3_exec(database_, sql, nullptr, nullptr, nullptr) == SQLITE_OK, database_);
}

}  // namespace sorn::bench
