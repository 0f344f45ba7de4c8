#pragma once

// The least that keeping texts in SQLite costs: one table, prepared statements, the library's own settings.

#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>

struct sqlite3;
struct sqlite3_stmt;

namespace sorn::bench {

// Opens a database for the benchmarks' purposes; throws when that fails.
sqlite3* openBare(const std::filesystem::path& file);
sqlite3_stmt* prepareBare(sqlite3* database, const char* sql);

class BareStore {
 public:
  explicit BareStore(const std::filesystem::path& file);
  ~BareStore();
  BareStore(const BareStore&) = delete;
  BareStore& operator=(const BareStore&) = delete;

  // One transaction with one row.
  void insert(std::string_view text);
  void insertMany(std::size_t rows, std::string_view text);
  void checkpoint();

  // Appends every row's text, with commas between them.
  void appendAll(std::string& out);
  // One transaction.
  void removeAll();

 private:
  void execute(const char* sql);

  sqlite3* database_;
  sqlite3_stmt* insert_;
  sqlite3_stmt* select_;
  sqlite3_stmt* remove_;
};

}  // namespace sorn::bench
