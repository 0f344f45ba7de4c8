#include "fakes/FullDisk.h"
#include "store/StoreFixture.h"

namespace sorn::store {

using SaveTest = StoreFixture;

TEST_F(SaveTest, RefusedChangeKeepsAllOthersPendingForTheNextSave) {
  const auto changed = addEvent("a");
  const auto deleted = addEvent("b");
  ASSERT_TRUE(save());
  execute("CREATE TRIGGER no BEFORE DELETE ON SNEvent BEGIN SELECT RAISE(ABORT, 'no'); END");
  run([&] {
    changed->set(SNEvent::action, "A");
    context_->deleteObject(*deleted);
  });
  addEvent("c");
  for (int attempt = 0; attempt < 3; ++attempt) {
    EXPECT_FALSE(save());
    EXPECT_EQ(storedActions(), "a,b") << "all or nothing";
    EXPECT_EQ(fetched(), "Ac") << "memory keeps what was meant";
    EXPECT_EQ(scanned(), "A0c0");
  }
  execute("DROP TRIGGER no");
  EXPECT_TRUE(save());
  EXPECT_EQ(storedActions(), "A,c");
  EXPECT_FALSE(run([&] { return context_->hasChanges(); }));
}

TEST_F(SaveTest, FullDiskLosesNothingAndIsWrittenOnceThereIsRoom) {
  addEvent("a");
  ASSERT_TRUE(save());
  const auto log = file().string() + "-wal";
  {
    const tests::FullDisk full(std::filesystem::file_size(log) + 4096);
    const auto big = addEvent("b");
    run([&] { big->set(SNEvent::extra, std::string(200'000, 'x')); });
    EXPECT_FALSE(save());
    addEvent("c");
    EXPECT_FALSE(save());
    EXPECT_EQ(fetched(), "abc");
  }
  EXPECT_TRUE(save());
  reopen();
  EXPECT_EQ(fetched(), "abc");
  EXPECT_EQ(stored("PRAGMA integrity_check"), "ok");
}

TEST_F(SaveTest, BulkDeletionShowsAtOnceAndIsAllOrNothingInTheFile) {
  const auto first = addEvent("a");
  addEvent("b");
  const auto third = addEvent("c");
  ASSERT_TRUE(save());
  const RowRanges rows = rowsOf({first, third});
  reopen();  // nothing is loaded
  execute(
      "CREATE TRIGGER no BEFORE DELETE ON SNEvent WHEN OLD.action = 'c' "
      "BEGIN SELECT RAISE(ABORT, 'no'); END");
  run([&] { context_->deleteRows(SNEvent::entity(), rows); });
  for (int attempt = 0; attempt < 2; ++attempt) {
    EXPECT_EQ(fetched(), "b");
    EXPECT_EQ(scanned(), "b0");
    EXPECT_EQ(counted(), 1u);
    EXPECT_EQ(run([&] { return context_->object(SNEvent::entity(), rows.ranges()[0].first); }), nullptr);
    EXPECT_FALSE(save());
    EXPECT_EQ(storedActions(), "a,b,c") << "the first range must not go alone";
  }
  execute("DROP TRIGGER no");
  EXPECT_TRUE(save());
  EXPECT_EQ(storedActions(), "b");
}

TEST_F(SaveTest, RowsAreSplitIntoSetsThatTogetherAreTheSame) {
  RowRanges rows;
  for (const std::int64_t row : {1, 2, 3, 5, 6, 8, 9, 10, 11, 12, 13, 14}) {
    rows.append(row, row == 5 || row == 8);
  }
  std::string sets;
  for (const RowRanges& set : rows.split(4)) {
    for (const RowRange& range : set.ranges()) {
      sets += std::to_string(range.first) + "-" + std::to_string(range.last) + " ";
    }
    sets += "(" + std::to_string(set.count()) + ") ";
  }
  EXPECT_EQ(sets, "1-3 5-5 (4) 6-6 8-10 (4) 11-14 (4) ");
  EXPECT_TRUE(RowRanges().split(4).empty());
}

TEST_F(SaveTest, BulkDeletionTakesLoadedAndUnsavedRecordsAlong) {
  const auto saved = addEvent("a");
  addEvent("b");
  ASSERT_TRUE(save());
  const auto unsaved = addEvent("c");
  run([&] { context_->deleteRows(SNEvent::entity(), rowsOf({saved, unsaved})); });
  EXPECT_TRUE(saved->isDeleted());
  EXPECT_EQ(fetched(), "b");
  ASSERT_TRUE(save());
  EXPECT_EQ(saved->managedObjectContext(), nullptr);
  EXPECT_EQ(unsaved->managedObjectContext(), nullptr);
  EXPECT_EQ(storedActions(), "b");
}

TEST_F(SaveTest, BulkStatusShowsAtOnceInLoadedUnsavedAndUnloadedRecords) {
  addEvent("a");
  const auto loaded = addEvent("b");
  ASSERT_TRUE(save());
  const auto unsaved = addEvent("c");
  const RowRanges all({loaded->rowID() - 1, unsaved->rowID()}, 3);
  execute("CREATE TRIGGER no BEFORE UPDATE ON SNEvent BEGIN SELECT RAISE(ABORT, 'no'); END");
  run([&] { context_->setStatusOfRows(SNEvent::entity(), all, -1, dateSince1970(12)); });
  EXPECT_EQ(scanned(), "a-1b-1c-1");
  EXPECT_EQ(counted(SNEvent::status == -1), 3u);
  EXPECT_EQ(counted(SNEvent::status == 0), 0u);
  EXPECT_EQ(loaded->get(SNEvent::status), -1);
  EXPECT_FALSE(save());
  EXPECT_EQ(counted(SNEvent::status == -1), 3u);
  execute("DROP TRIGGER no");
  ASSERT_TRUE(save());
  EXPECT_EQ(stored("SELECT action || status || ' ' || statusUpdated FROM SNEvent ORDER BY id"),
            "a-1 12.0,b-1 12.0,c-1 12.0");
}

TEST_F(SaveTest, LaterChangeWinsWhetherOfManyRowsOrOfOneRecord) {
  const auto before = addEvent("a");
  const auto after = addEvent("b");
  const auto unloaded = addEvent("c")->rowID();
  const auto gone = addEvent("d")->rowID();
  ASSERT_TRUE(save());
  const RowRanges all({before->rowID(), gone}, 4);
  run([&] {
    SNServerStatus::of(before)->setStatus(ServerStatusState::isTrue);
    context_->setStatusOfRows(SNEvent::entity(), all, -1, clock_.now());
    SNServerStatus::of(after)->setStatus(ServerStatusState::isTrue);
    context_->deleteRows(SNEvent::entity(), RowRanges({gone, gone}, 1));
    context_->setStatusOfRows(SNEvent::entity(), RowRanges({unloaded, gone}, 2), 1, clock_.now());
  });
  EXPECT_EQ(scanned(), "a-1b1c1");
  ASSERT_TRUE(save());
  EXPECT_EQ(stored("SELECT action || status FROM SNEvent ORDER BY id"), "a-1,b1,c1");
}

TEST_F(SaveTest, RowIdsAreNeverHandedOutAgain) {
  const auto first = addEvent("a");
  ASSERT_TRUE(save());
  std::int64_t last = first->rowID();
  for (int round = 0; round < 3; ++round) {
    run([&] {
      for (const auto& event : context_->fetchRecords<SNEvent>()) context_->deleteObject(*event);
    });
    ASSERT_TRUE(save());
    reopen();
    const auto next = addEvent("b");
    EXPECT_GT(next->rowID(), last);
    ASSERT_TRUE(save());
    last = next->rowID();
  }
}

TEST_F(SaveTest, RowIdsStayUniqueAcrossTheReservedBlocks) {
  for (int index = 0; index < 2100; ++index) {
    run([&] {
      context_->insert<SNEvent>();
      ASSERT_TRUE(context_->save());
    });
  }
  const std::int64_t last = run([&] { return context_->lastRowID(); });
  EXPECT_EQ(stored("SELECT count(*) FROM SNEvent"), "2100");
  EXPECT_EQ(stored("SELECT bound > " + std::to_string(last) + " FROM SNRowIDs"), "1");
}

}  // namespace sorn::store
