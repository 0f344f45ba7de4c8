#include <csignal>
#include <set>
#include <thread>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "fakes/FullDisk.h"
#include "fakes/TemporaryFolder.h"
#include "support/AtomicFile.h"
#include "support/BoundedFile.h"

namespace sorn::support {

namespace {

using Names = std::set<std::string>;

Names namesIn(const tests::TemporaryFolder& folder) {
  Names names;
  for (const auto& entry : std::filesystem::directory_iterator(folder.path())) {
    names.insert(entry.path().filename());
  }
  return names;
}

// A process that the system ends after the thousandth byte of its file.
void dieWhileWriting(const std::filesystem::path& file) {
  const pid_t child = ::fork();
  if (child == 0) {
    const rlimit none{0, 0};
    ::setrlimit(RLIMIT_CORE, &none);
    const rlimit thousand{1000, 1000};
    ::setrlimit(RLIMIT_FSIZE, &thousand);
    std::signal(SIGXFSZ, SIG_DFL);
    static_cast<void>(writeAtomically(file, std::string(2000, 'x')));
    ::_exit(0);
  }
  int status = 0;
  ::waitpid(child, &status, 0);
  ASSERT_TRUE(WIFSIGNALED(status)) << "it was to die in the middle";
}

}  // namespace

TEST(AtomicFile, MakesPrivateFoldersAndFilesWhateverTheMask) {
  const tests::TemporaryFolder folder;
  const mode_t before = ::umask(0);
  EXPECT_TRUE(writeAtomically(folder / "a/b/file", "one"));
  ::umask(before);
  EXPECT_EQ(tests::modeOf(folder / "a"), "0700");
  EXPECT_EQ(tests::modeOf(folder / "a/b"), "0700");
  EXPECT_EQ(tests::modeOf(folder / "a/b/file"), "0600");
}

TEST(AtomicFile, KeepsWhatIsThereWhenTheNewContentDoesNotFitOrAFolderIsInItsPlace) {
  const tests::TemporaryFolder folder;
  folder.write("file", "old");
  std::filesystem::create_directory(folder / "folder");
  {
    const tests::FullDisk disk(1000);
    EXPECT_FALSE(writeAtomically(folder / "file", std::string(2000, 'x')));
  }
  EXPECT_EQ(writeAtomically(folder / "file/below/it", "x").error(), std::errc::not_a_directory);
  EXPECT_FALSE(writeAtomically(folder / "folder", "x"));
  EXPECT_EQ(folder.read("file"), "old");
  EXPECT_EQ(namesIn(folder), (Names{"file", "folder"}));
}

TEST(BoundedFile, ReadsUpToItsLimitAndNeverWaits) {
  const tests::TemporaryFolder folder;
  const auto file = folder.write("file", std::string(40000, 'x'));
  EXPECT_EQ(readBounded(file, 40000)->size(), 40000u);
  EXPECT_EQ(readBounded(file, 39999).error(), std::errc::file_too_large);
  EXPECT_EQ(readBounded(folder / "none", 10).error(), std::errc::no_such_file_or_directory);
  EXPECT_EQ(readBounded(folder.path(), 10).error(), std::errc::is_a_directory);
  ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
  EXPECT_EQ(*readBounded(folder / "pipe", 10), "");
}

TEST(AtomicFile, WhatADeadProcessLeftGoesWithTheNextWrite) {
  const tests::TemporaryFolder folder;
  ASSERT_TRUE(writeAtomically(folder / "file", "one"));
  for (int death = 0; death < 3; ++death) dieWhileWriting(folder / "file");
  EXPECT_EQ(folder.read("file"), "one");
  EXPECT_EQ(namesIn(folder).size(), 2u) << "the next attempt cleared the one before";
  ASSERT_TRUE(writeAtomically(folder / "other", "two"));
  EXPECT_EQ(namesIn(folder).size(), 3u) << "that of another file is not looked for";
  ASSERT_TRUE(writeAtomically(folder / "file", "three"));
  EXPECT_EQ(namesIn(folder), (Names{"file", "other"}));
}

TEST(AtomicFile, TemporaryOfALivingWriterAndFilesOfOthersStay) {
  const tests::TemporaryFolder folder;
  Names others = {".file.sorn-", ".file.sorn-abcde",   ".file.sorn-abcdefg",
                  ".file",       ".files.sorn-abcdef", "file.sorn-abcdef"};
  for (const std::string& name : others) folder.write(name, "mine");
  std::filesystem::create_directory(folder / *others.insert(".file.sorn-folder").first);
  std::filesystem::create_symlink(folder / ".file", folder / *others.insert(".file.sorn-linked").first);
  const std::filesystem::path live = folder.write(".file.sorn-ABC123", "half");
  const int writer = ::open(live.c_str(), O_RDWR | O_CLOEXEC);
  ASSERT_EQ(::flock(writer, LOCK_EX), 0);
  ASSERT_TRUE(writeAtomically(folder / "file", "one"));
  EXPECT_TRUE(std::filesystem::exists(live));
  ::close(writer);
  ASSERT_TRUE(writeAtomically(folder / "file", "two"));
  EXPECT_FALSE(std::filesystem::exists(live));
  others.insert("file");
  EXPECT_EQ(namesIn(folder), others);
}

TEST(AtomicFile, WritersSideBySideDoNotTakeEachOtherForDead) {
  const tests::TemporaryFolder folder;
  std::atomic<int> failures = 0;
  std::vector<std::thread> writers;
  writers.reserve(4);
  for (int writer = 0; writer < 4; ++writer) {
    writers.emplace_back([&, writer] {
      const std::string content(5000, static_cast<char>('a' + writer));
      for (int round = 0; round < 200; ++round) {
        if (!writeAtomically(folder / "file", content, platform::Durability::process)) ++failures;
        const std::string read = folder.read("file");
        if (read.size() != 5000 || read.find_first_not_of(read[0]) != std::string::npos) ++failures;
      }
    });
  }
  for (auto& writer : writers) writer.join();
  EXPECT_EQ(failures, 0);
  EXPECT_EQ(namesIn(folder), Names{"file"});
}

}  // namespace sorn::support
