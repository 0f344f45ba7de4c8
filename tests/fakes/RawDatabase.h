#pragma once

#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>

#include <sqlite3.h>

namespace sorn::tests {

// A bare connection to a database file, for looking at what was really written and for planting obstacles.
// In the process that has the store open, it shares the store's lock.
class RawDatabase {
 public:
  explicit RawDatabase(const std::filesystem::path& file) {
    const int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE;
    if (sqlite3_open_v2(file.c_str(), &handle_, flags, "unix-excl") != SQLITE_OK) fail();
    // The store may be writing, or moving its log into the file.
    sqlite3_busy_timeout(handle_, 10'000);
  }
  ~RawDatabase() { sqlite3_close_v2(handle_); }
  RawDatabase(const RawDatabase&) = delete;
  RawDatabase& operator=(const RawDatabase&) = delete;

  void execute(const std::string& sql) {
    if (sqlite3_exec(handle_, sql.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK) fail();
  }
  // The first column of all rows, joined by commas; an absent value is "null".
  std::string column(const std::string& sql) {
    sqlite3_stmt* statement = nullptr;
    if (sqlite3_prepare_v2(handle_, sql.c_str(), -1, &statement, nullptr) != SQLITE_OK) fail();
    std::string joined;
    bool isFirst = true;
    int result = SQLITE_ROW;
    while ((result = sqlite3_step(statement)) == SQLITE_ROW) {
      const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(statement, 0));
      joined.append(isFirst ? "" : ",").append(text ? text : "null");
      isFirst = false;
    }
    sqlite3_finalize(statement);
    if (result != SQLITE_DONE) fail();
    return joined;
  }

 private:
  [[noreturn]] void fail() const { throw std::runtime_error(sqlite3_errmsg(handle_)); }

  sqlite3* handle_ = nullptr;
};

// Overwrites the pages in the middle of a closed file of many: it still opens, but not all rows can be read.
inline void spoilMiddle(const std::filesystem::path& file) {
  constexpr std::size_t pageSize = 2048;
  const auto middle = std::filesystem::file_size(file) / pageSize / 2 * pageSize;
  std::fstream stream(file, std::ios::in | std::ios::out | std::ios::binary);
  stream.seekp(static_cast<std::streamoff>(middle));
  stream << std::string(3 * pageSize, '\xFF');
}

}  // namespace sorn::tests
