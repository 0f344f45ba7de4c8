#include <chrono>
#include <functional>
#include <limits>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "fakes/FullDisk.h"
#include "fakes/TemporaryFolder.h"
#include "settings/DefaultsFile.h"
#include "settings/SecureStoreFile.h"
#include "support/AtomicFile.h"
#include "support/BoundedFile.h"

namespace sorn::tests {

using platform::SecureStore;
using settings::DefaultsFile;
using settings::SecureStoreFile;

namespace {

std::size_t filesIn(const std::filesystem::path& folder) {
  return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(folder), {}));
}

TEST(AtomicFile, MakesPrivateFoldersAndFilesWhateverTheMask) {
  const TemporaryFolder folder;
  const mode_t before = ::umask(0);
  EXPECT_TRUE(support::writeAtomically(folder / "a/b/file", "one"));
  ::umask(before);
  EXPECT_EQ(modeOf(folder / "a"), "0700");
  EXPECT_EQ(modeOf(folder / "a/b"), "0700");
  EXPECT_EQ(modeOf(folder / "a/b/file"), "0600");
  std::filesystem::permissions(folder / "a", std::filesystem::perms(0755));
  EXPECT_TRUE(support::writeAtomically(folder / "a/b/file", "two"));
  EXPECT_EQ(modeOf(folder / "a"), "0755");
  EXPECT_EQ(folder.read("a/b/file"), "two");
  EXPECT_EQ(filesIn(folder / "a/b"), 1u);
}

TEST(AtomicFile, KeepsWhatIsThereWhenTheNewContentDoesNotFitOrAFolderIsInItsPlace) {
  const TemporaryFolder folder;
  folder.write("file", "old");
  std::filesystem::create_directory(folder / "folder");
  {
    const FullDisk disk(1000);
    EXPECT_FALSE(support::writeAtomically(folder / "file", std::string(2000, 'x')));
  }
  EXPECT_EQ(support::writeAtomically(folder / "file/below/it", "x").error(), std::errc::not_a_directory);
  EXPECT_FALSE(support::writeAtomically(folder / "folder", "x"));
  EXPECT_EQ(folder.read("file"), "old");
  EXPECT_EQ(filesIn(folder.path()), 2u);
}

TEST(BoundedFile, ReadsUpToItsLimitAndNeverWaits) {
  const TemporaryFolder folder;
  const auto file = folder.write("file", std::string(40000, 'x'));
  EXPECT_EQ(support::readBounded(file, 40000)->size(), 40000u);
  EXPECT_EQ(support::readBounded(file, 39999).error(), std::errc::file_too_large);
  EXPECT_EQ(support::readBounded(folder / "none", 10).error(), std::errc::no_such_file_or_directory);
  EXPECT_EQ(support::readBounded(folder.path(), 10).error(), std::errc::is_a_directory);
  ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
  EXPECT_EQ(*support::readBounded(folder / "pipe", 10), "");
}

TEST(DefaultsFile, KeepsEveryTypeOverARestart) {
  const TemporaryFolder folder;
  const Dictionary values{
      {"boolean", true},
      {"integer", 1},
      {"largest", std::numeric_limits<std::int64_t>::max()},
      {"whole", 2.0},
      {"negative zero", -0.0},
      {"fraction", 0.1},
      {"tiny", 5e-324},
      {"infinite", -std::numeric_limits<double>::infinity()},
      {"decimal", Decimal{"123456789012345678901234567890"}},
      {"text", "\"quotes\" \\ / \n \u00e4 \U0001F4EC"},
      {"null", nullptr},
      {"date", dateSince1970(1700000000.123456)},
      {"whole date", dateSince1970(1700000000)},
      {"list", List{1, 1.0, "x", List{}, Dictionary{}}},
      {"dictionary", Dictionary{{"SRStartFileName", "config"}, {"nested", Dictionary{{"a", 3.0}}}}},
      {"$looks", Dictionary{{"$date", 5}, {"$double", "x"}}},
      {"wrapped", Dictionary{{"$date", 5}}},
      {"wrapped twice", Dictionary{{"$dictionary", Dictionary{{"$date", 5.0}}}}},
  };
  {
    DefaultsFile defaults(folder / "home/defaults.json");
    for (const auto& [key, value] : values) defaults.set(key, value);
  }
  const DefaultsFile defaults(folder / "home/defaults.json");
  for (const auto& [key, value] : values) EXPECT_TRUE(defaults.object(key) == value) << key;
}

// Read by scripts and by hosts that were written before, so the bytes stay.
TEST(DefaultsFile, WritesPlainJson) {
  const TemporaryFolder folder;
  DefaultsFile defaults(folder / "d.json");
  defaults.set("b", 2.0);
  defaults.set("a", true);
  defaults.set("broken", std::string("\xFF"));
  EXPECT_EQ(folder.read("d.json"), "{\n  \"a\": true,\n  \"b\": {\"$double\":\"2\"}\n}\n");
  EXPECT_EQ(defaults.object("broken"), Value(std::string("\xFF")));
  defaults.remove("a");
  defaults.remove("b");
  EXPECT_EQ(folder.read("d.json"), "{\n}\n");
}

TEST(DefaultsFile, AnswersASetValueBeforeARegisteredOne) {
  const TemporaryFolder folder;
  DefaultsFile defaults(folder / "d.json");
  defaults.set("off", false);
  defaults.registerDefaults({{"off", true}, {"on", true}});
  EXPECT_FALSE(defaults.boolean("off"));
  EXPECT_TRUE(defaults.boolean("on"));
  EXPECT_FALSE(defaults.boolean("absent"));
  defaults.remove("off");
  EXPECT_TRUE(defaults.boolean("off"));
  EXPECT_EQ(DefaultsFile(folder / "d.json").object("on"), std::nullopt);
}

TEST(DefaultsFile, TellsItsObserverAfterTheChangeWithNoLockHeld) {
  DefaultsFile defaults(std::nullopt);
  std::vector<std::optional<Value>> seen;
  defaults.setObserver([&] { seen.push_back(defaults.object("key")); });
  defaults.set("key", 1);
  defaults.set("key", 1);
  defaults.remove("key");
  EXPECT_THAT(seen, ::testing::ElementsAre(Value(1), Value(1), std::nullopt));
}

TEST(DefaultsFile, HoldsForThisProcessWhatCannotBeWritten) {
  const TemporaryFolder folder;
  folder.write("file", "");
  for (const std::optional<std::filesystem::path>& place :
       {std::optional<std::filesystem::path>(), std::optional(folder / "file/defaults.json")}) {
    DefaultsFile defaults(place);
    defaults.set("key", "kept");
    EXPECT_EQ(defaults.object("key"), Value("kept"));
  }
}

TEST(DefaultsFile, BeginsAnewWhenItsFileIsDamagedAndKeepsTheDamagedOne) {
  for (const char* damaged : {"", "{\"a\":1", "[1]", "\xFF\xFE{}", "null"}) {
    const TemporaryFolder folder;
    folder.write("d.json", damaged);
    DefaultsFile defaults(folder / "d.json");
    EXPECT_EQ(defaults.object("a"), std::nullopt) << damaged;
    defaults.set("b", 2);
    EXPECT_EQ(DefaultsFile(folder / "d.json").object("b"), Value(2)) << damaged;
    EXPECT_EQ(folder.read("d.json.damaged"), damaged);
  }
}

TEST(DefaultsFile, KeepsWhatAnotherHasSetMeanwhile) {
  const TemporaryFolder folder;
  DefaultsFile one(folder / "d.json");
  DefaultsFile other(folder / "d.json");
  EXPECT_EQ(one.object("a"), std::nullopt);
  other.set("a", 1);
  other.set("same", 1);
  one.set("b", 2);
  one.set("same", 2);
  other.set("same", 1);
  one.remove("a");
  EXPECT_EQ(folder.read("d.json"), "{\n  \"b\": 2,\n  \"same\": 1\n}\n");
  EXPECT_EQ(modeOf(folder / ".d.json.lock"), "0600");
}

TEST(DefaultsFile, WritesLaterWhatDidNotFit) {
  const TemporaryFolder folder;
  DefaultsFile defaults(folder / "d.json");
  defaults.set("gone", 1);
  {
    const FullDisk disk(10);
    defaults.set("a", 2);
    defaults.remove("gone");
  }
  defaults.set("b", 3);
  EXPECT_EQ(folder.read("d.json"), "{\n  \"a\": 2,\n  \"b\": 3\n}\n");
}

// Runs the work in processes of their own, all at once. Whether each came to its end.
bool runsInProcesses(int count, const std::function<void(int)>& work) {
  std::vector<pid_t> children;
  for (int number = 0; number < count; ++number) {
    const pid_t child = ::fork();
    if (child == 0) {
      work(number);
      ::_exit(0);
    }
    children.push_back(child);
  }
  bool isWell = true;
  for (const pid_t child : children) {
    int status = 1;
    isWell = ::waitpid(child, &status, 0) == child && status == 0 && isWell;
  }
  return isWell;
}

TEST(FileLock, ProcessesLoseNothingOfEachOther) {
  const TemporaryFolder folder;
  const auto name = [](int process, int item) {
    return std::to_string(process) + "." + std::to_string(item);
  };
  EXPECT_TRUE(runsInProcesses(4, [&](int process) {
    DefaultsFile defaults(folder / "new/d.json");
    SecureStoreFile store(folder / "new/s.json");
    for (int item = 0; item < 15; ++item) {
      defaults.set(name(process, item), item);
      store.add(name(process, item), "x");
    }
  }));
  const DefaultsFile defaults(folder / "new/d.json");
  const SecureStoreFile store(folder / "new/s.json");
  for (int process = 0; process < 4; ++process) {
    for (int item = 0; item < 15; ++item) {
      EXPECT_EQ(defaults.object(name(process, item)), Value(item)) << name(process, item);
      EXPECT_EQ(store.read(name(process, item)).status, SecureStore::success) << name(process, item);
    }
  }
}

// As a process holds it that is stopped in the middle.
TEST(FileLock, IsNotWaitedForWithoutEndAndDoneWithoutWhereItCannotBe) {
  const TemporaryFolder folder;
  const int held = ::open(folder.write(".d.json.lock", "").c_str(), O_RDONLY | O_CLOEXEC);
  ASSERT_EQ(::flock(held, LOCK_EX), 0);
  DefaultsFile defaults(folder / "d.json");
  const auto start = std::chrono::steady_clock::now();
  defaults.set("a", 1);
  const std::chrono::duration<double> waited = std::chrono::steady_clock::now() - start;
  ::close(held);
  EXPECT_EQ(folder.read("d.json"), "{\n  \"a\": 1\n}\n");
  EXPECT_GE(waited.count(), 1.0);
  EXPECT_LT(waited.count(), 5.0);
  std::filesystem::create_directories(folder / ".other.json.lock");
  DefaultsFile(folder / "other.json").set("a", 1);
  EXPECT_EQ(folder.read("other.json"), "{\n  \"a\": 1\n}\n");
}

TEST(SecureStoreFile, KeepsBytesUnderServicesForTheUserAlone) {
  const TemporaryFolder folder;
  const std::string bytes("\0\xFF id", 5);
  SecureStoreFile store(folder / "home/secure-store.json");
  EXPECT_EQ(store.read("app.key").status, SecureStore::itemNotFound);
  EXPECT_EQ(store.remove("app.key"), SecureStore::itemNotFound);
  EXPECT_EQ(store.add("app.key", bytes), SecureStore::success);
  EXPECT_EQ(store.add("app.key", "other"), SecureStore::duplicateItem);
  EXPECT_EQ(store.add("app.empty", ""), SecureStore::success);
  EXPECT_EQ(SecureStoreFile(folder / "home/secure-store.json").read("app.key").bytes, bytes);
  EXPECT_EQ(store.read("app.empty").bytes, "");
  // base64 of the five bytes by the program of that name
  EXPECT_EQ(folder.read("home/secure-store.json"), R"({"app.empty":"","app.key":"AP8gaWQ="})");
  EXPECT_EQ(store.remove("app.key"), SecureStore::success);
  EXPECT_EQ(store.read("app.key").status, SecureStore::itemNotFound);
  EXPECT_EQ(store.read("app.empty").status, SecureStore::success);
}

TEST(SecureStoreFile, ReportsADamagedFileAndReplacesItOnlyForANewItem) {
  const TemporaryFolder folder;
  folder.write("s.json", "{\"app.key\":");
  SecureStoreFile store(folder / "s.json");
  EXPECT_EQ(store.read("app.key").status, SecureStore::ioFailure);
  EXPECT_EQ(store.remove("app.key"), SecureStore::ioFailure);
  EXPECT_EQ(store.add("app.key", "new"), SecureStore::success);
  EXPECT_EQ(store.read("app.key").bytes, "new");
  EXPECT_EQ(folder.read("s.json.damaged"), "{\"app.key\":");
  folder.write("s.json", R"({"app.key":"no base64","app.number":1})");
  EXPECT_EQ(store.read("app.key").status, SecureStore::ioFailure);
  EXPECT_EQ(store.read("app.number").status, SecureStore::ioFailure);
}

TEST(SecureStoreFile, FailsWithoutAPlaceAndOnAFullDisk) {
  SecureStoreFile none(std::nullopt);
  EXPECT_EQ(none.add("a", "b"), SecureStore::ioFailure);
  EXPECT_EQ(none.read("a").status, SecureStore::ioFailure);
  const TemporaryFolder folder;
  SecureStoreFile store(folder / "s.json");
  EXPECT_EQ(store.add("a", "kept"), SecureStore::success);
  {
    const FullDisk disk(50);
    EXPECT_EQ(store.add("b", std::string(100, 'x')), SecureStore::ioFailure);
  }
  EXPECT_EQ(store.read("a").bytes, "kept");
  EXPECT_EQ(store.read("b").status, SecureStore::itemNotFound);
}

}  // namespace
}  // namespace sorn::tests
