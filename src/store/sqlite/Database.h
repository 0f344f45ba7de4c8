#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "store/Cell.h"

struct sqlite3;
struct sqlite3_stmt;

namespace sorn::store::sqlite {

// A prepared statement. Bound texts are not copied: they must live until the statement is reset. Every
// operation reports failure by its result; nothing throws.
class Statement {
 public:
  Statement() = default;
  explicit Statement(sqlite3_stmt* handle) : handle_(handle) {}
  ~Statement();
  Statement(Statement&& other) noexcept;
  Statement& operator=(Statement&& other) noexcept;

  explicit operator bool() const { return handle_ != nullptr; }

  // Parameters count from 1.
  void bind(int parameter, const Cell& value);
  void bind(int parameter, std::int64_t value);
  void bind(int parameter, double value);
  void bind(int parameter, std::string_view text);

  // Whether a row is there to be read.
  bool nextRow();
  // Runs a statement that yields no rows, and makes it ready for its next use.
  bool run();
  void reset();
  // Whether the last `nextRow` ended in an error rather than at the last row.
  bool failed() const { return failed_; }

  // Columns count from 0.
  bool isNull(int column) const;
  std::int64_t integer(int column) const;
  double real(int column) const;
  std::string_view text(int column) const;  // valid until the next step
  Cell cell(int column) const;

 private:
  sqlite3_stmt* handle_ = nullptr;
  bool failed_ = false;
};

// One connection to a database file.
class Database {
 public:
  Database() = default;
  ~Database();
  Database(const Database&) = delete;
  Database& operator=(const Database&) = delete;

  // Opens an existing file for reading and writing. It keeps every other process out for as long as it is
  // open; further connections of this process are welcome.
  bool open(const std::filesystem::path& file);
  void close();
  bool isOpen() const { return handle_ != nullptr; }

  bool execute(const char* sql);
  Statement prepare(std::string_view sql);
  // The first column of the first row; absent when there is none or the statement fails.
  std::optional<std::int64_t> integer(std::string_view sql);

  // Pages that the write-ahead log held after this connection's last commit.
  int logPages() const { return logPages_; }
  // Copies what it can from the log into the database without waiting for anybody.
  void checkpoint();
  // Has the system write what check-points have left in its memory, so that a later pass finds little to wait
  // for.
  void flushToDisk();

  std::string lastError() const;
  // Whether the last operation of this connection failed because the file is damaged or no database.
  bool lastFailedByDamage() const;

 private:
  sqlite3* handle_ = nullptr;
  int logPages_ = 0;
};

// A write transaction, from its begin to the end of the scope: rolled back there unless it was committed.
class Transaction {
 public:
  explicit Transaction(Database& database)
      : database_(database), isOpen_(database.execute("BEGIN IMMEDIATE")) {}
  ~Transaction() {
    if (isOpen_) database_.execute("ROLLBACK");
  }
  Transaction(const Transaction&) = delete;
  Transaction& operator=(const Transaction&) = delete;

  bool hasBegun() const { return isOpen_; }
  [[nodiscard]] bool commit() {
    const bool isCommitted = database_.execute("COMMIT");
    isOpen_ = !isCommitted;
    return isCommitted;
  }

 private:
  Database& database_;
  bool isOpen_;
};

}  // namespace sorn::store::sqlite
