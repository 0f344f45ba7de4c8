#include <fstream>

#include <gmock/gmock.h>
#include <sys/stat.h>

#include "fakes/ChildProcess.h"
#include "fakes/Polling.h"
#include "fakes/TestHost.h"
#include "store/StoreFixture.h"

namespace sorn::store {

namespace {

std::string bytesOf(const std::filesystem::path& file) {
  std::error_code ignored;
  if (!std::filesystem::is_regular_file(file, ignored)) return {};
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

std::unique_ptr<PersistentStore> open(const std::filesystem::path& file) {
  auto store = PersistentStore::open(file, platform::Durability::process);
  EXPECT_TRUE(store || !store.error().empty());
  return store ? *std::move(store) : nullptr;
}

// A library's store with one event "a" in it, closed properly.
void makeStore(const std::filesystem::path& file) {
  tests::FakeClock clock;
  support::SerialQueue queue;
  ManagedObjectContext context(queue, clock, open(file));
  queue.performBlockAndWait([&] {
    context.insert<SNEvent>()->set(SNEvent::action, "a");
    ASSERT_TRUE(context.save());
  });
}

}  // namespace

TEST(StoreFile, FileAndFoldersBelongToTheUserAlone) {
  tests::TestHost host;
  host.directories->documentFolders = {host.folder / "x", host.folder / "deep/documents"};
  const auto library = host.launch();
  library->services().database.currentApplication();
  const auto documents = host.folder / "deep/documents";
  EXPECT_EQ(tests::modeOf(host.folder / "deep"), "0700");
  EXPECT_EQ(tests::modeOf(documents), "0700");
  EXPECT_EQ(tests::modeOf(documents / "SNSornDB.sqlite"), "0600");
  EXPECT_EQ(tests::modeOf(documents / "SNSornDB.sqlite-wal"), "0600");
  EXPECT_FALSE(std::filesystem::exists(host.folder / "x")) << "the last candidate is the one";
}

TEST(StoreFile, EmptyFileOfWiderRightsBecomesAPrivateStore) {
  const tests::TemporaryFolder folder;
  folder.write("s.sqlite", "");
  std::filesystem::permissions(folder / "s.sqlite", std::filesystem::perms(0644));
  makeStore(folder / "s.sqlite");
  EXPECT_EQ(tests::modeOf(folder / "s.sqlite"), "0600");
  EXPECT_EQ(tests::RawDatabase(folder / "s.sqlite").column("SELECT action FROM SNEvent"), "a");
}

// A file that is no store of this library, or a spoiled one.
struct Unusable {
  const char* name;
  std::function<void(const std::filesystem::path&)> prepare;
};

// The bytes alone, what these statements make of an empty database, and what they make of a store.
auto bytes(const std::string& text) {
  return [text](const auto& file) { std::ofstream(file, std::ios::binary) << text; };
}
auto foreign(const char* sql) {
  return [sql](const auto& file) { tests::RawDatabase(file).execute(sql); };
}
auto spoiled(const char* sql) {
  return [sql](const auto& file) {
    makeStore(file);
    tests::RawDatabase(file).execute(sql);
  };
}

TEST(StoreFile, UnusableOneLeavesTheLibraryWithoutPersistenceAndIsNotTouched) {
  const std::string head("SQLite format 3\0", 16);
  const Unusable cases[] = {
      {"text", bytes("no database")},
      {"short", bytes("SQLite")},
      {"head alone", bytes(head)},
      {"noise", bytes(head + std::string(8000, 'x'))},
      {"foreign", foreign("CREATE TABLE t (x)")},
      {"foreign with a log", foreign("PRAGMA journal_mode=WAL; CREATE TABLE t (x)")},
      {"damaged table", spoiled("DROP TABLE SNSession")},
      {"newer version", spoiled("PRAGMA user_version=2")},
      {"cut off",
       [](const auto& file) {
         makeStore(file);
         std::filesystem::resize_file(file, 6000);
       }},
      {"pipe", [](const auto& file) { ASSERT_EQ(::mkfifo(file.c_str(), 0600), 0); }},
      {"folder", [](const auto& file) { std::filesystem::create_directory(file); }},
      {"dangling link", [](const auto& file) { std::filesystem::create_symlink("elsewhere", file); }},
      {"file where the folder should be",
       [](const auto& file) {
         std::filesystem::remove(file.parent_path());
         std::ofstream(file.parent_path()) << "x";
       }},
  };
  for (const Unusable& each : cases) {
    SCOPED_TRACE(each.name);
    tests::TestHost host;
    const auto file = host.databaseFile();
    std::filesystem::create_directories(file.parent_path());
    each.prepare(file);
    const std::string before = bytesOf(file);
    std::error_code ignored;
    const auto modeBefore = std::filesystem::symlink_status(file, ignored).permissions();
    {
      const auto library = host.launch();
      store::ManagedObjectContext& context = library->context();
      EXPECT_FALSE(context.performBlockAndWait([&] { return context.isPersistent(); }));
      library->sorn().logEventWith("Category", "Action");
      context.performBlockAndWait([&] {
        EXPECT_EQ(context.count(SNEvent::entity()), 2u) << "the session's first and this";
        EXPECT_FALSE(context.save());
      });
    }
    EXPECT_TRUE(bytesOf(file) == before);
    EXPECT_EQ(std::filesystem::symlink_status(file, ignored).permissions(), modeBefore);
    EXPECT_FALSE(std::filesystem::exists(file.string() + "-wal", ignored));
    EXPECT_FALSE(std::filesystem::exists(file.parent_path() / "elsewhere", ignored)) << "the link's target";
  }
}

using DamagedFile = StoreFixture;

TEST_F(DamagedFile, IsGivenUpAtTheFirstUnreadableRowAndWorkGoesOnInMemory) {
  run([&] {
    for (int number = 0; number < 500; ++number) {
      context_->insert<SNEvent>()->set(SNEvent::action, std::string(200, 'x'));
    }
    context_->insert<SNUser>()->set(SNUser::userID, "in use");
  });
  ASSERT_TRUE(save());
  close();
  tests::spoilMiddle(file());
  const std::string before = bytesOf(file());
  for (const bool byWriting : {false, true}) {
    std::string damage;
    queue_ = std::make_unique<support::SerialQueue>();
    context_ = std::make_unique<ManagedObjectContext>(*queue_, clock_, nullptr);
    context_->setStore(open(file()), [&](const std::string& text) { damage += text; });
    run([&] {
      ASSERT_TRUE(context_->isPersistent());
      const auto user = context_->fetchRecords<SNUser>().at(0);
      if (byWriting) {
        context_->deleteRows(SNEvent::entity(), RowRanges({}, 500));
        EXPECT_FALSE(context_->save());
      } else {
        EXPECT_EQ(context_->fetchRecords<SNEvent>().size(), 0u) << "not a part of them";
      }
      EXPECT_FALSE(context_->isPersistent());
      EXPECT_EQ(damage, "the file is damaged");
      EXPECT_EQ(context_->fetchRecords<SNUser>(), std::vector{user});
      context_->insert<SNEvent>()->set(SNEvent::action, "later");
      EXPECT_FALSE(context_->save());
      EXPECT_EQ(context_->fetchRecords<SNEvent>().size(), 1u);
    });
    close();
    EXPECT_TRUE(bytesOf(file()) == before);
  }
}

TEST(StoreFile, HeldByAnotherProcessIsLeftToItAndFreeAfterItsDeath) {
  tests::TestHost host;
  std::filesystem::create_directories(host.databaseFile().parent_path());
  makeStore(host.databaseFile());
  tests::ChildProcess holder({SORN_STORE_HELPER, "hold", host.databaseFile()});
  ASSERT_EQ(holder.readLine(), "ready");
  const std::string before = bytesOf(host.databaseFile());
  {
    const auto library = host.launch();
    EXPECT_FALSE(library->context().performBlockAndWait([&] { return library->context().isPersistent(); }));
    library->sorn().logEventWith("Category", "Action");
  }
  EXPECT_TRUE(bytesOf(host.databaseFile()) == before);
  holder.kill();
  const auto library = host.launch();
  EXPECT_TRUE(library->context().performBlockAndWait([&] { return library->context().isPersistent(); }));
}

TEST(StoreFile, ProcessKilledBetweenSavesLosesNothingThatASaveReported) {
  const tests::TemporaryFolder folder;
  int saved = 0;
  for (const int lines : {3, 40, 400}) {
    std::filesystem::remove(folder / "s.sqlite");
    std::filesystem::remove(folder / "s.sqlite-wal");
    tests::ChildProcess writer({SORN_STORE_HELPER, "write", folder / "s.sqlite"});
    for (int line = 0; line < lines; ++line) saved = std::stoi(writer.readLine());
    writer.kill();
    ASSERT_EQ(saved, lines);
    ASSERT_TRUE(open(folder / "s.sqlite"));
    tests::RawDatabase raw(folder / "s.sqlite");
    EXPECT_EQ(raw.column("PRAGMA integrity_check"), "ok");
    EXPECT_GE(std::stoi(raw.column("SELECT count(*) FROM SNEvent")), saved);
    EXPECT_EQ(raw.column("SELECT count(*) = max(action + 0) FROM SNEvent"), "1") << "no gap";
  }
}

TEST(StoreFile, QuietMovesTheLogIntoTheDatabaseAndStartsItAfresh) {
  tests::TestHost host;
  const auto library = host.launch();
  const auto addEvents = [&](int count) {
    library->context().performBlockAndWait([&] {
      for (int index = 0; index < count; ++index) {
        library->context().insert<SNEvent>()->set(SNEvent::extra, std::string(900, 'x'));
        EXPECT_TRUE(library->context().save());
      }
    });
  };
  const auto isCheckpointed = [&](const std::string& count) {
    // The database file without its log, as somebody finds it who copies that one alone.
    const auto copy = host.folder / "copy.sqlite";
    std::filesystem::copy_file(host.databaseFile(), copy, std::filesystem::copy_options::overwrite_existing);
    try {
      return tests::RawDatabase(copy).column("SELECT count(*) FROM SNEvent") == count;
    } catch (const std::runtime_error&) {
      return false;  // copied in the middle of the pass
    }
  };
  // A round that begins in the last moment of a pass still goes behind the one before, so there are many.
  const std::string log = host.databaseFile().string() + "-wal";
  addEvents(200);
  const auto sizeOfOneRound = std::filesystem::file_size(log);
  bool hasBegunAnew = false;
  for (int events = 400; events <= 4000 && !hasBegunAnew; events += 200) {
    ASSERT_TRUE(tests::becomesTrue([&] { return isCheckpointed(std::to_string(events - 200)); }));
    const auto before = std::filesystem::file_size(log);
    addEvents(200);
    hasBegunAnew = std::filesystem::file_size(log) < before + sizeOfOneRound / 2;
  }
  EXPECT_TRUE(hasBegunAnew);
}

TEST(StoreFile, LogStaysBoundedWhileNobodyRests) {
  const tests::TemporaryFolder folder;
  tests::FakeClock clock;
  support::SerialQueue queue;
  ManagedObjectContext context(queue, clock, open(folder / "s.sqlite"));
  queue.performBlockAndWait([&] {
    for (int index = 0; index < 3000; ++index) {
      context.insert<SNEvent>()->set(SNEvent::extra, std::string(9000, 'x'));
      ASSERT_TRUE(context.save());
    }
  });
  // 8,000 pages of 2,048 bytes and their headers, and what one save adds.
  EXPECT_LT(std::filesystem::file_size(folder / "s.sqlite-wal"), 8100u * (2048 + 24));
}

}  // namespace sorn::store
