#include "store/sqlite/Database.h"

#include <utility>

#include <sqlite3.h>

#include "store/sqlite/LogGathering.h"

namespace sorn::store::sqlite {

Statement::~Statement() { sqlite3_finalize(handle_); }

Statement::Statement(Statement&& other) noexcept
    : handle_(std::exchange(other.handle_, nullptr)), failed_(other.failed_) {}

Statement& Statement::operator=(Statement&& other) noexcept {
  std::swap(handle_, other.handle_);
  failed_ = other.failed_;
  return *this;
}

void Statement::bind(int parameter, const Cell& value) {
  if (const auto* integer = std::get_if<std::int64_t>(&value)) {
    bind(parameter, *integer);
  } else if (const auto* text = std::get_if<std::string>(&value)) {
    bind(parameter, std::string_view(*text));
  } else if (const auto* number = std::get_if<double>(&value)) {
    bind(parameter, *number);
  } else {
    sqlite3_bind_null(handle_, parameter);
  }
}

void Statement::bind(int parameter, std::int64_t value) { sqlite3_bind_int64(handle_, parameter, value); }

void Statement::bind(int parameter, double value) { sqlite3_bind_double(handle_, parameter, value); }

void Statement::bind(int parameter, std::string_view text) {
  // An empty view may have no data pointer at all, which would bind NULL.
  sqlite3_bind_text64(handle_, parameter, text.empty() ? "" : text.data(), text.size(), SQLITE_STATIC,
                      SQLITE_UTF8);
}

bool Statement::nextRow() {
  if (!handle_) {
    failed_ = true;
    return false;
  }
  const int result = sqlite3_step(handle_);
  failed_ = result != SQLITE_ROW && result != SQLITE_DONE;
  return result == SQLITE_ROW;
}

bool Statement::run() {
  nextRow();
  const bool succeeded = !failed_;
  reset();
  return succeeded;
}

void Statement::reset() { sqlite3_reset(handle_); }

bool Statement::isNull(int column) const { return sqlite3_column_type(handle_, column) == SQLITE_NULL; }

std::int64_t Statement::integer(int column) const { return sqlite3_column_int64(handle_, column); }

double Statement::real(int column) const { return sqlite3_column_double(handle_, column); }

std::string_view Statement::text(int column) const {
  const unsigned char* text = sqlite3_column_text(handle_, column);
  if (!text) return {};
  return {reinterpret_cast<const char*>(text),
          static_cast<std::size_t>(sqlite3_column_bytes(handle_, column))};
}

Cell Statement::cell(int column) const {
  switch (sqlite3_column_type(handle_, column)) {
    case SQLITE_INTEGER:
      return integer(column);
    case SQLITE_FLOAT:
      return real(column);
    case SQLITE_TEXT:
      return std::string(text(column));
    default:
      return {};
  }
}

Database::~Database() { close(); }

bool Database::open(const std::filesystem::path& file) {
  close();
  constexpr int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_NOFOLLOW;
  // This file system layer holds one exclusive lock while the file is open instead of taking locks again and
  // again, and keeps the log's index in memory, where the connections of this process share it.
  if (sqlite3_open_v2(file.c_str(), &handle_, flags, logGatheringLayer()) != SQLITE_OK) {
    close();
    return false;
  }
  sqlite3_extended_result_codes(handle_, 1);
  sqlite3_wal_hook(
      handle_,
      [](void* context, sqlite3*, const char*, int pages) {
        static_cast<Database*>(context)->logPages_ = pages;
        return SQLITE_OK;
      },
      this);
  return true;
}

void Database::close() {
  if (handle_) sqlite3_close_v2(handle_);
  handle_ = nullptr;
}

bool Database::execute(const char* sql) {
  return handle_ && sqlite3_exec(handle_, sql, nullptr, nullptr, nullptr) == SQLITE_OK;
}

Statement Database::prepare(std::string_view sql) {
  sqlite3_stmt* statement = nullptr;
  if (handle_) {
    sqlite3_prepare_v3(handle_, sql.data(), static_cast<int>(sql.size()), SQLITE_PREPARE_PERSISTENT,
                       &statement, nullptr);
  }
  return Statement(statement);
}

std::optional<std::int64_t> Database::integer(std::string_view sql) {
  Statement statement = prepare(sql);
  if (!statement || !statement.nextRow()) return std::nullopt;
  return statement.integer(0);
}

void Database::checkpoint() {
  if (handle_) sqlite3_wal_checkpoint_v2(handle_, nullptr, SQLITE_CHECKPOINT_PASSIVE, nullptr, nullptr);
}

void Database::flushToDisk() {
  sqlite3_file* file = nullptr;
  if (!handle_ || sqlite3_file_control(handle_, "main", SQLITE_FCNTL_FILE_POINTER, &file) != SQLITE_OK)
    return;
  if (file->pMethods) file->pMethods->xSync(file, SQLITE_SYNC_NORMAL | SQLITE_SYNC_DATAONLY);
}

bool Database::lastFailedByDamage() const {
  const int primary = handle_ ? sqlite3_errcode(handle_) & 0xFF : SQLITE_OK;
  return primary == SQLITE_CORRUPT || primary == SQLITE_NOTADB;
}

std::string Database::lastError() const { return handle_ ? sqlite3_errmsg(handle_) : "not open"; }

}  // namespace sorn::store::sqlite
