#include <fstream>

#include <gtest/gtest.h>

#include "fakes/FullDisk.h"
#include "fakes/RawDatabase.h"
#include "fakes/TemporaryFolder.h"
#include "store/sqlite/Database.h"

namespace sorn::store::sqlite {

namespace {

// A database of one table, and what a process that came after this one's death would find in it.
class LogGathering : public ::testing::Test {
 protected:
  LogGathering() {
    std::ofstream(file()).close();
    EXPECT_TRUE(database_.open(file()));
    run("PRAGMA page_size=2048; PRAGMA journal_mode=WAL; PRAGMA synchronous=NORMAL;"
        "CREATE TABLE t (id INTEGER PRIMARY KEY, text TEXT)");
  }

  std::filesystem::path file() const { return folder_ / "s.sqlite"; }
  void run(const std::string& sql) { ASSERT_TRUE(database_.execute(sql.c_str())) << database_.lastError(); }
  static std::string insertOf(int rows, int bytes) {
    return "WITH RECURSIVE n(i) AS (VALUES(1) UNION ALL SELECT i+1 FROM n WHERE i<" + std::to_string(rows) +
           ") INSERT INTO t(text) SELECT hex(zeroblob(" + std::to_string(bytes / 2) + ")) FROM n";
  }

  // Rows and the sum of their lengths in a copy of the files as they are at this moment, read by SQLite's own
  // file system layer.
  std::string found() {
    const std::filesystem::path copy = folder_ / "copy.sqlite";
    for (const char* end : {"", "-wal"}) {
      std::filesystem::copy_file(file().string() + end, copy.string() + end,
                                 std::filesystem::copy_options::overwrite_existing);
    }
    std::filesystem::remove(copy.string() + "-shm");
    tests::RawDatabase raw(copy);
    EXPECT_EQ(raw.column("PRAGMA integrity_check"), "ok");
    return raw.column("SELECT count(*) || ' ' || total(length(text)) FROM t");
  }

  tests::TemporaryFolder folder_;
  Database database_;
};

std::int64_t writesSoFar() {
  std::ifstream stream("/proc/self/io");
  for (std::string line; std::getline(stream, line);) {
    if (line.starts_with("syscw: ")) return std::stoll(line.substr(7));
  }
  return -1;
}

}  // namespace

TEST_F(LogGathering, EachCommitIsInTheFileWhenItReturns) {
  const struct {
    std::string sql;
    const char* rows;
  } steps[] = {
      {insertOf(1, 600), "1 600.0"},
      {insertOf(1, 600), "2 1200.0"},
      {insertOf(200, 600), "202 121200.0"},
      // More pages than are held back at a time, in overflow pages of one row and over many rows.
      {insertOf(1, 100'000), "203 221200.0"},
      {"UPDATE t SET text = text || 'x'", "203 221403.0"},
      {"DELETE FROM t WHERE id > 100", "100 60100.0"},
      {"BEGIN; " + insertOf(50, 600) + "; ROLLBACK", "100 60100.0"},
      {insertOf(1, 600), "101 60700.0"},
      // The log begins anew.
      {"PRAGMA wal_checkpoint(RESTART)", "101 60700.0"},
      {insertOf(1, 600), "102 61300.0"},
      {"PRAGMA wal_checkpoint(TRUNCATE)", "102 61300.0"},
      {insertOf(1, 600), "103 61900.0"},
  };
  for (const auto& step : steps) {
    run(step.sql);
    EXPECT_EQ(found(), step.rows) << step.sql;
  }
}

// A commit that has outgrown the cache goes back in the log and rewrites frames and their checksums.
TEST_F(LogGathering, CommitLargerThanTheCacheIsWhole) {
  run("PRAGMA cache_size=10");
  run(insertOf(300, 600));
  run("BEGIN; UPDATE t SET text = text || 'a'; UPDATE t SET text = text || 'b' WHERE id % 7 = 0;"
      "UPDATE t SET text = text || 'c'; UPDATE t SET text = substr(text, 2) WHERE id < 20; COMMIT");
  EXPECT_EQ(found(), "300 180623.0");
  run("BEGIN; UPDATE t SET text = text || 'a'; UPDATE t SET text = text || 'b'; ROLLBACK");
  EXPECT_EQ(found(), "300 180623.0");
  run(insertOf(1, 600));
  EXPECT_EQ(found(), "301 181223.0");
}

TEST_F(LogGathering, ConnectionsTakeTurnsInOneLog) {
  Database other;
  ASSERT_TRUE(other.open(file()));
  for (int turn = 1; turn <= 20; ++turn) {
    ASSERT_TRUE((turn % 2 ? database_ : other).execute(insertOf(1 + turn % 3, 600).c_str()));
    if (turn % 5 == 0) other.checkpoint();
  }
  // 1 + turn % 3 rows in each of twenty turns.
  EXPECT_EQ(found(), "41 24600.0");
}

TEST_F(LogGathering, CommitThatDoesNotFitFailsAndTheNextSucceeds) {
  run(insertOf(1, 600));
  const auto size = std::filesystem::file_size(file().string() + "-wal");
  // Room for nothing more, for a part of a frame, and for a frame but not the whole commit.
  for (const rlim_t room : {0, 1000, 5000}) {
    const tests::FullDisk disk(size + room);
    EXPECT_FALSE(database_.execute(insertOf(20, 600).c_str()));
    EXPECT_EQ(found(), "1 600.0");
  }
  run(insertOf(20, 600));
  EXPECT_EQ(found(), "21 12600.0");
  run(insertOf(1, 600));
  EXPECT_EQ(found(), "22 13200.0");
}

// The next commits write over the frames of the one that failed, up to and beyond where its last write ended.
TEST_F(LogGathering, EachSmallCommitAfterAFailureIsInTheFile) {
  for (const bool isUsedBefore : {false, true}) {
    if (isUsedBefore) run(insertOf(100, 1500) + "; PRAGMA wal_checkpoint(RESTART)");
    run("DELETE FROM t");
    const auto logged = std::filesystem::file_size(file().string() + "-wal");
    {
      const tests::FullDisk disk(isUsedBefore ? 20'000 : logged);
      EXPECT_FALSE(database_.execute(insertOf(20, 1500).c_str()));
    }
    for (int rows = 1; rows <= 24; ++rows) {
      run("INSERT INTO t(text) VALUES ('x')");
      EXPECT_EQ(found(), std::to_string(rows) + " " + std::to_string(rows) + ".0");
    }
  }
}

TEST_F(LogGathering, SmallCommitTakesOneCallOfTheSystem) {
  Statement insert = database_.prepare("INSERT INTO t(text) VALUES ('x')");
  const std::int64_t before = writesSoFar();
  if (before < 0) GTEST_SKIP() << "the system does not count calls here";
  for (int commit = 0; commit < 50; ++commit) ASSERT_TRUE(insert.run());
  // Two each without gathering. A sanitizer may have written something of its own.
  EXPECT_LT(writesSoFar() - before, 60);
}

}  // namespace sorn::store::sqlite
