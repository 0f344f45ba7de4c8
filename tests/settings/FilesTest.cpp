#include <chrono>
#include <limits>
#include <tuple>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/wait.h>
#include <unistd.h>

#include "fakes/FullDisk.h"
#include "fakes/TemporaryFolder.h"
#include "settings/DefaultsFile.h"
#include "settings/SecureStoreFile.h"

namespace sorn::tests {

using platform::SecureStore;
using settings::DefaultsFile;
using settings::SecureStoreFile;

namespace {

// Read by scripts and by hosts that were written before, so the bytes stay. JSON alone would make integers of
// whole doubles and texts of dates, which are therefore wrapped, as is what looks wrapped itself.
TEST(DefaultsFile, WritesPlainJsonThatReadsBackWithTheSameTypes) {
  const TemporaryFolder folder;
  const std::tuple<const char*, Value, const char*> cases[] = {
      {"a", true, "true"},
      {"b", std::numeric_limits<std::int64_t>::min(), "-9223372036854775808"},
      {"c", 2.0, R"({"$double":"2"})"},
      {"d", -0.0, R"({"$double":"-0"})"},
      {"e", 0.1, "0.1"},
      {"f", -std::numeric_limits<double>::infinity(), R"({"$double":"-inf"})"},
      {"g", Decimal{"123456789012345678901234567890"}, R"({"$decimal":"123456789012345678901234567890"})"},
      {"h", "\"q\" \\ \n \u00e4",
       R"("\"q\" \\ \n )"
       "\u00e4\""},
      {"i", nullptr, "null"},
      {"j", dateSince1970(1700000000.125), R"({"$date":1700000000.125})"},
      {"k", List{1, 1.0, List{}, Dictionary{}}, R"([1,{"$double":"1"},[],{}])"},
      {"l", Dictionary{{"nested", Dictionary{{"a", 3.0}}}}, R"({"nested":{"a":{"$double":"3"}}})"},
      {"m", Dictionary{{"$date", 5}}, R"({"$dictionary":{"$date":5}})"},
      {"n", Dictionary{{"$dictionary", Dictionary{{"$date", 5.0}}}},
       R"({"$dictionary":{"$dictionary":{"$dictionary":{"$date":{"$double":"5"}}}}})"},
  };
  std::string expected = "{";
  {
    DefaultsFile defaults(folder / "home/d.json");
    for (const auto& [key, value, text] : cases) {
      defaults.set(key, value);
      expected.append(expected.size() > 1 ? "," : "")
          .append("\n  \"")
          .append(key)
          .append("\": ")
          .append(text);
    }
    defaults.set("no text", std::string("\xFF"));
    EXPECT_EQ(defaults.object("no text"), Value(std::string("\xFF")));
  }
  EXPECT_EQ(folder.read("home/d.json"), expected + "\n}\n");
  DefaultsFile defaults(folder / "home/d.json");
  for (const auto& [key, value, text] : cases) EXPECT_TRUE(defaults.object(key) == value) << key;
  for (const auto& each : cases) defaults.remove(std::get<0>(each));
  EXPECT_EQ(folder.read("home/d.json"), "{\n}\n");
}

TEST(DefaultsFile, AnswersASetValueBeforeARegisteredOneAlsoWithoutAFileAndTellsItsObserver) {
  const TemporaryFolder folder;
  folder.write("file", "");
  for (const std::optional<std::filesystem::path>& place :
       {std::optional<std::filesystem::path>(), std::optional(folder / "file/d.json"),
        std::optional(folder / "d.json")}) {
    DefaultsFile defaults(place);
    std::vector<std::optional<Value>> seen;
    // No lock is held: the observer may read.
    defaults.setObserver([&] { seen.push_back(defaults.object("off")); });
    defaults.set("off", false);
    defaults.registerDefaults({{"off", true}, {"on", true}});
    EXPECT_TRUE(defaults.boolean("on"));
    EXPECT_FALSE(defaults.boolean("absent"));
    defaults.set("off", false);
    defaults.remove("off");
    EXPECT_THAT(seen, ::testing::ElementsAre(Value(false), Value(false), Value(true)));
  }
  EXPECT_EQ(DefaultsFile(folder / "d.json").object("on"), std::nullopt);
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

TEST(DefaultsFile, KeepsWhatAnotherHasSetMeanwhileAndWritesLaterWhatDidNotFit) {
  const TemporaryFolder folder;
  DefaultsFile one(folder / "d.json");
  DefaultsFile other(folder / "d.json");
  EXPECT_EQ(one.object("a"), std::nullopt);
  other.set("a", 1);
  other.set("same", 1);
  one.set("b", 2);
  one.set("same", 2);
  other.set("same", 1);
  {
    const FullDisk disk(10);
    one.set("c", 3);
    one.remove("a");
  }
  EXPECT_EQ(folder.read("d.json"), "{\n  \"a\": 1,\n  \"b\": 2,\n  \"same\": 1\n}\n");
  one.set("d", 4);
  EXPECT_EQ(folder.read("d.json"), "{\n  \"b\": 2,\n  \"c\": 3,\n  \"d\": 4,\n  \"same\": 1\n}\n");
  EXPECT_EQ(modeOf(folder / ".d.json.lock"), "0600");
}

TEST(FileLock, ProcessesLoseNothingOfEachOther) {
  const TemporaryFolder folder;
  const auto eachItem = [&](int process, const auto& visit) {
    DefaultsFile defaults(folder / "new/d.json");
    SecureStoreFile store(folder / "new/s.json");
    for (int item = 0; item < 15; ++item)
      visit(defaults, store, std::to_string(process) + "." + std::to_string(item));
  };
  std::vector<pid_t> children;
  for (int process = 0; process < 4; ++process) {
    children.push_back(::fork());
    if (children.back() != 0) continue;
    eachItem(process, [](auto& defaults, auto& store, const std::string& name) {
      defaults.set(name, name);
      store.add(name, "x");
    });
    ::_exit(0);
  }
  for (const pid_t child : children) EXPECT_EQ(::waitpid(child, nullptr, 0), child);
  for (int process = 0; process < 4; ++process) {
    eachItem(process, [](const auto& defaults, const auto& store, const std::string& name) {
      EXPECT_EQ(defaults.object(name), Value(name));
      EXPECT_EQ(store.read(name).status, SecureStore::success) << name;
    });
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
  SecureStoreFile store(folder / "home/s.json");
  EXPECT_EQ(store.read("app.key").status, SecureStore::itemNotFound);
  EXPECT_EQ(store.remove("app.key"), SecureStore::itemNotFound);
  EXPECT_EQ(store.add("app.key", bytes), SecureStore::success);
  EXPECT_EQ(store.add("app.key", "other"), SecureStore::duplicateItem);
  EXPECT_EQ(store.add("app.empty", ""), SecureStore::success);
  EXPECT_EQ(SecureStoreFile(folder / "home/s.json").read("app.key").bytes, bytes);
  // base64 of the five bytes by the program of that name
  EXPECT_EQ(folder.read("home/s.json"), R"({"app.empty":"","app.key":"AP8gaWQ="})");
  EXPECT_EQ(store.remove("app.key"), SecureStore::success);
  EXPECT_EQ(store.read("app.key").status, SecureStore::itemNotFound);
  EXPECT_EQ(store.read("app.empty").bytes, "");
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
