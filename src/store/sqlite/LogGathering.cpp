#include "store/sqlite/LogGathering.h"

#include <cstring>
#include <new>

#include <sqlite3.h>

namespace sorn::store::sqlite {

namespace {

constexpr const char* baseName = "unix-excl";
constexpr const char* layerName = "sorn-unix-excl";

// From SQLite's description of the log's format: what precedes each page, and where in it the size of the
// database in pages stands, which is other than zero only in the last frame of a commit.
constexpr int frameHeaderSize = 24;
constexpr int sizeAfterCommit = 4;

constexpr int longestGathering = 16 * 1024;
constexpr sqlite3_int64 nowhere = -1;

// An open log. SQLite makes the room for it, `szOsFile` bytes; the base's own file follows it there.
//
// Held back are only writes that append: the header of a frame, and the page that follows its header at once.
// With the page that ends a commit everything is written, before SQLite hears that its write succeeded, so a
// failure is reported at the commit, and nobody is told of a frame that is not in the file. SQLite goes back
// and alters frames when a commit has outgrown its cache, and writes over the frames of one that it gave up:
// such writes pass straight through.
struct GatheredLog {
  sqlite3_file base;
  char* held;  // `longestGathering` bytes
  int heldSize;
  sqlite3_int64 heldAt;      // place in the file of the first byte held
  sqlite3_int64 appendedTo;  // where the furthest append ended, held or written
  sqlite3_int64 pageAt;      // where the page belongs whose header was the last write, or `nowhere`
  bool endsCommit;           // that header is the one of a commit's last frame
};

GatheredLog& logOf(sqlite3_file* file) { return *reinterpret_cast<GatheredLog*>(file); }

sqlite3_file* baseOf(sqlite3_file* file) { return reinterpret_cast<sqlite3_file*>(&logOf(file) + 1); }

const sqlite3_io_methods& baseMethods(sqlite3_file* file) { return *baseOf(file)->pMethods; }

int writeHeld(sqlite3_file* file) {
  GatheredLog& log = logOf(file);
  if (log.heldSize == 0) return SQLITE_OK;
  const int size = log.heldSize;
  log.heldSize = 0;
  const int result = baseMethods(file).xWrite(baseOf(file), log.held, size, log.heldAt);
  // The commit that these bytes belong to is given up, and the next one takes their place.
  if (result != SQLITE_OK) log.appendedTo = log.heldAt;
  return result;
}

bool isAppend(const GatheredLog& log, sqlite3_int64 offset) {
  return log.heldSize > 0 ? offset == log.heldAt + log.heldSize : offset >= log.appendedTo;
}

void hold(GatheredLog& log, const void* bytes, int size, sqlite3_int64 offset) {
  if (log.heldSize == 0) log.heldAt = offset;
  std::memcpy(log.held + log.heldSize, bytes, static_cast<std::size_t>(size));
  log.heldSize += size;
  log.appendedTo = offset + size;
}

// Notes what follows a frame's header; other writes are followed by nothing that is known.
void expectPage(GatheredLog& log, bool isHeader, const void* bytes, sqlite3_int64 offset) {
  log.pageAt = isHeader ? offset + frameHeaderSize : nowhere;
  constexpr char none[4] = {};
  log.endsCommit =
      isHeader && std::memcmp(static_cast<const char*>(bytes) + sizeAfterCommit, none, sizeof none) != 0;
}

int writeLog(sqlite3_file* file, const void* bytes, int size, sqlite3_int64 offset) {
  GatheredLog& log = logOf(file);
  // The log begins anew.
  if (offset == 0) log.appendedTo = 0;
  const bool isPage = offset == log.pageAt;
  const bool isHeader = !isPage && size == frameHeaderSize;
  const bool completesCommit = isPage && log.endsCommit;
  const bool holds = (isPage || isHeader) && size <= longestGathering && isAppend(log, offset);
  expectPage(log, isHeader, bytes, offset);
  if (!holds || log.heldSize + size > longestGathering) {
    if (const int failure = writeHeld(file)) return failure;
  }
  if (!holds) return baseMethods(file).xWrite(baseOf(file), bytes, size, offset);
  hold(log, bytes, size, offset);
  return completesCommit ? writeHeld(file) : SQLITE_OK;
}

int closeLog(sqlite3_file* file) {
  // What is still held belongs to a commit that never came.
  sqlite3_free(logOf(file).held);
  return baseMethods(file).xClose(baseOf(file));
}

int readLog(sqlite3_file* file, void* bytes, int size, sqlite3_int64 offset) {
  if (const int failure = writeHeld(file)) return failure;
  return baseMethods(file).xRead(baseOf(file), bytes, size, offset);
}

int truncateLog(sqlite3_file* file, sqlite3_int64 size) {
  if (const int failure = writeHeld(file)) return failure;
  return baseMethods(file).xTruncate(baseOf(file), size);
}

int syncLog(sqlite3_file* file, int flags) {
  if (const int failure = writeHeld(file)) return failure;
  return baseMethods(file).xSync(baseOf(file), flags);
}

int sizeOfLog(sqlite3_file* file, sqlite3_int64* size) {
  if (const int failure = writeHeld(file)) return failure;
  return baseMethods(file).xFileSize(baseOf(file), size);
}

int controlLog(sqlite3_file* file, int operation, void* argument) {
  return baseMethods(file).xFileControl(baseOf(file), operation, argument);
}

int lockLog(sqlite3_file* file, int level) { return baseMethods(file).xLock(baseOf(file), level); }

int unlockLog(sqlite3_file* file, int level) { return baseMethods(file).xUnlock(baseOf(file), level); }

int checkLogsLock(sqlite3_file* file, int* isReserved) {
  return baseMethods(file).xCheckReservedLock(baseOf(file), isReserved);
}

int sectorSizeOfLog(sqlite3_file* file) { return baseMethods(file).xSectorSize(baseOf(file)); }

int characteristicsOfLog(sqlite3_file* file) {
  return baseMethods(file).xDeviceCharacteristics(baseOf(file));
}

// Version 1: the shared memory and the mapped reading of the later versions concern the database alone.
constexpr sqlite3_io_methods logMethods = {
    1,         closeLog,      readLog,    writeLog,        truncateLog,          syncLog, sizeOfLog, lockLog,
    unlockLog, checkLogsLock, controlLog, sectorSizeOfLog, characteristicsOfLog, nullptr, nullptr,   nullptr,
    nullptr,   nullptr,       nullptr};

sqlite3_vfs* baseLayer() { return sqlite3_vfs_find(baseName); }

// Everything but a log is the base's own file.
int openFile(sqlite3_vfs*, const char* name, sqlite3_file* file, int flags, int* resultingFlags) {
  sqlite3_vfs* const base = baseLayer();
  if ((flags & SQLITE_OPEN_WAL) == 0) return base->xOpen(base, name, file, flags, resultingFlags);
  file->pMethods = nullptr;
  char* const held = static_cast<char*>(sqlite3_malloc(longestGathering));
  if (!held) return SQLITE_NOMEM;
  new (file) GatheredLog{{nullptr}, held, 0, 0, 0, nowhere, false};
  const int result = base->xOpen(base, name, baseOf(file), flags, resultingFlags);
  if (result == SQLITE_OK) {
    file->pMethods = &logMethods;
  } else {
    sqlite3_free(held);
  }
  return result;
}

// The base with another name and another way to open. SQLite links it into its list, so it stays for good.
const char* registerLayer() {
  static sqlite3_vfs layer;
  const sqlite3_vfs* const base = baseLayer();
  if (!base) return baseName;
  layer = *base;
  layer.pNext = nullptr;
  layer.zName = layerName;
  layer.szOsFile = static_cast<int>(sizeof(GatheredLog)) + base->szOsFile;
  layer.xOpen = openFile;
  return sqlite3_vfs_register(&layer, 0) == SQLITE_OK ? layerName : baseName;
}

}  // namespace

const char* logGatheringLayer() {
  static const char* const name = registerLayer();
  return name;
}

}  // namespace sorn::store::sqlite
