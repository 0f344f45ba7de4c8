#include <array>
#include <atomic>
#include <future>
#include <map>
#include <tuple>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include "fakes/DataFile.h"
#include "fakes/TemporaryFolder.h"
#include "host/HeadlessApplication.h"
#include "host/HeadlessPlatform.h"
#include "host/HostBundle.h"
#include "host/LinuxDeviceFacts.h"
#include "host/MainQueueThread.h"
#include "host/Syslog.h"
#include "host/SystemClock.h"
#include "host/XdgDirectories.h"
#include "sorn/platform/Headless.h"

namespace sorn::tests {

using host::LinuxDeviceFacts;
using platform::DeviceIdiom;
using std::chrono::milliseconds;

namespace {

// A variable of this process's environment; null unsets.
void setVariable(const char* name, const char* value) { value ? ::setenv(name, value, 1) : ::unsetenv(name); }

TEST(XdgDirectories, FollowTheEnvironmentAndKeepAnApplicationInsideItsFolder) {
  const std::array<const char*, 5> cases[] = {
      {nullptr, nullptr, "app", "/h/.local/share/app/documents", "/h/.config/app/defaults.json"},
      {"/d", "/c", "../evil/app", "/d/.._evil_app/documents", "/c/.._evil_app/defaults.json"},
      {"relative", "", "app", "/h/.local/share/app/documents", "/h/.config/app/defaults.json"},
  };
  for (const auto& [data, config, name, documents, defaults] : cases) {
    setVariable("HOME", "/h");
    setVariable("XDG_DATA_HOME", data);
    setVariable("XDG_CONFIG_HOME", config);
    const host::XdgDirectories directories(host::XdgHomes::fromEnvironment(), name);
    EXPECT_THAT(directories.documents(), ::testing::ElementsAre(documents));
    EXPECT_EQ(directories.defaultsFile(), defaults);
  }
  for (const char* name : {"", ".", ".."}) {
    const host::XdgDirectories none(host::XdgHomes::below("/root"), name);
    EXPECT_THAT(none.documents(), ::testing::IsEmpty());
    EXPECT_EQ(none.defaultsFile(), std::nullopt);
  }
}

TEST(HostBundle, FindsResourcesInOrderAndNeverOutside) {
  const TemporaryFolder folder;
  folder.write("shared/host.app/config.plist", "shared");
  folder.write("shared/host.app/only.plist", "shared");
  folder.write("own/config.plist", "own");
  folder.write("own/late.plist", "own");
  folder.write("secret.plist", "secret");
  std::filesystem::create_directories(folder / "own/folder.plist");
  setVariable("XDG_DATA_DIRS", (folder / "shared").c_str());
  host::HostBundle bundle;
  EXPECT_EQ(bundle.identifier(), "host_test");
  bundle.setIdentifier("host.app");
  EXPECT_EQ(bundle.resource("late", "plist"), std::nullopt);
  bundle.addResourceDirectory(folder / "own");
  EXPECT_EQ(bundle.resource("config", "plist"), folder / "shared/host.app/config.plist");
  EXPECT_EQ(bundle.resource("late", "plist"), folder / "own/late.plist");
  EXPECT_EQ(bundle.resource("late.plist", ""), folder / "own/late.plist");
  for (const std::string& name : {std::string("folder"), std::string("../secret"), std::string(),
                                  (folder / "secret").string(), std::string("la\0te", 5)}) {
    EXPECT_EQ(bundle.resource(name, "plist"), std::nullopt) << name;
  }
  setVariable("XDG_DATA_DIRS", nullptr);
  // A name in another encoding becomes text.
  for (const auto& [name, text] : std::map<const char*, const char*>{
           {"caf\xE9 1", "caf%e9 1"}, {"\xC3\xA9\xFF", "%c3%a9%ff"}, {"caf\xC3\xA9%", "caf\xC3\xA9%"}}) {
    bundle.setIdentifier(name);
    EXPECT_EQ(bundle.identifier(), text);
  }
}

TEST(HeadlessPlatform, KeepsItsFoldersWhenTheHostGoesElsewhere) {
  const TemporaryFolder folder;
  folder.write("own/config.plist", "own");
  const std::filesystem::path before = std::filesystem::current_path();
  std::filesystem::current_path(folder.path());
  const std::filesystem::path place = std::filesystem::current_path();
  platform::HeadlessOptions options;
  options.identifier = "app";
  options.resourceDirectories = {"own"};
  options.dataDirectory = "home";
  const platform::Platform platform = platform::headless(options);
  std::filesystem::current_path(before);
  EXPECT_EQ(platform.bundle->resource("config", "plist"), place / "own/config.plist");
  EXPECT_THAT(platform.directories->documents(), ::testing::ElementsAre(place / "home/data/app/documents"));
  platform.userDefaults->set("a", 1);
  EXPECT_TRUE(std::filesystem::exists(folder / "home/config/app/defaults.json"));
}

TEST(LinuxDeviceFacts, AreReadFromTheSystemsFilesAndAbsentWithoutThem) {
  const std::map<DeviceIdiom, std::string> idioms = {{DeviceIdiom::phone, "phone"},
                                                     {DeviceIdiom::tablet, "tablet"},
                                                     {DeviceIdiom::unspecified, "unspecified"}};
  for (const auto& row : dataFile("facts.json")) {
    const TemporaryFolder root;
    for (const auto& [file, text] : row[0].items()) root.write(file, text.get<std::string>());
    const LinuxDeviceFacts facts(root.path());
    EXPECT_EQ(facts.model(), cell<std::string>(row[1])) << row;
    EXPECT_EQ(idioms.at(facts.idiom()), row[2]) << row;
    EXPECT_EQ(facts.systemVersion(), cell<std::string>(row[3])) << row;
    const auto screen = facts.screen();
    EXPECT_EQ(screen ? std::optional(screen->width) : std::nullopt, cell<double>(row[4])) << row;
    EXPECT_EQ(screen ? std::optional(screen->height) : std::nullopt, cell<double>(row[5])) << row;
  }
}

TEST(LinuxDeviceFacts, SplitTheLocale) {
  for (const auto& row : dataFile("locales.json")) {
    const auto environment = row[0].get<std::map<std::string, std::string>>();
    const LinuxDeviceFacts facts("/nowhere", [&](const char* name) {
      const auto found = environment.find(name);
      return found == environment.end() ? nullptr : found->second.c_str();
    });
    EXPECT_EQ(facts.language(), cell<std::string>(row[1])) << row;
    EXPECT_EQ(facts.region(), cell<std::string>(row[2])) << row;
  }
}

TEST(LinuxDeviceFacts, TellTheOffsetOfTheZone) {
  const LinuxDeviceFacts facts;
  for (const auto& [zone, seconds] : std::map<const char*, int>{{"XXX3:30", -12600}, {"YYY-5:45", 20700}}) {
    setVariable("TZ", zone);
    EXPECT_EQ(facts.secondsFromGMT(), seconds) << zone;
  }
  setVariable("TZ", nullptr);
}

TEST(MainQueueThread, RunsWorkInOrderAndDelayedWorkWhenItIsDue) {
  host::MainQueueThread queue;
  std::string order;
  std::promise<void> done;
  const auto start = std::chrono::steady_clock::now();
  queue.post([&] {
    queue.postAfter(milliseconds(60), [&] { order += "c", done.set_value(); });
    queue.postAfter(milliseconds(30), [&] { order += "b"; });
    queue.post([&] { order += queue.isCurrent() ? "2" : "?"; });
    order += "1";
  });
  done.get_future().wait();
  EXPECT_EQ(order, "12bc");
  EXPECT_GE(std::chrono::steady_clock::now() - start, milliseconds(60));
  EXPECT_FALSE(queue.isCurrent());
}

TEST(MainQueueThread, IsNotStarvedByWorkThatPostsItselfAndMayDieWithinItsOwn) {
  auto queue = std::make_shared<host::MainQueueThread>();
  std::atomic<bool> isOver{false};
  std::promise<void> done;
  std::function<void()> again = [&, &posting = *queue] {
    if (!isOver) posting.post(again);
  };
  queue->post(again);
  queue->postAfter(milliseconds(5), [&] { isOver = true, done.set_value(); });
  ASSERT_EQ(done.get_future().wait_for(std::chrono::seconds(10)), std::future_status::ready);
  std::promise<void> released;
  std::promise<void> died;
  queue->post([&, held = queue]() mutable {
    released.get_future().wait();
    held.reset();
    died.set_value();
  });
  queue.reset();
  released.set_value();
  EXPECT_EQ(died.get_future().wait_for(std::chrono::seconds(10)), std::future_status::ready);
}

TEST(HeadlessApplication, ExpiresATaskOnceUnlessItHasEnded) {
  auto queue = std::make_shared<host::MainQueueThread>();
  host::HeadlessApplication application(queue, milliseconds(30));
  std::atomic<int> expired{0};
  std::promise<void> done;
  const auto ended = application.beginBackgroundTask("ended", [&] { expired += 100; });
  application.endBackgroundTask(ended);
  application.endBackgroundTask(ended);
  const auto late = application.beginBackgroundTask("late", [&] {
    ++expired;
    done.set_value();
  });
  EXPECT_NE(late, ended);
  EXPECT_NE(late, platform::Application::invalidBackgroundTask);
  ASSERT_EQ(done.get_future().wait_for(std::chrono::seconds(10)), std::future_status::ready);
  application.endBackgroundTask(late);
  EXPECT_EQ(expired, 1);
}

TEST(Syslog, SendsEachLineWithItsTypeAndLabel) {
  const TemporaryFolder folder;
  const std::string path = folder / "log";
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  path.copy(address.sun_path, path.size());
  const auto open = [&] {
    ::unlink(path.c_str());
    const int descriptor = ::socket(AF_UNIX, SOCK_DGRAM, 0);
    EXPECT_EQ(::bind(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    return descriptor;
  };
  host::Syslog log("label", path);
  const std::string end = "label\\[" + std::to_string(::getpid()) + "\\]: ";
  const std::string time = "[A-Z][a-z]{2} [ 0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2} ";
  // Facility user (1) times eight, plus notice 5, info 6, error 3. The service begins anew for each line.
  const std::tuple<platform::SystemLogType, std::string, std::string> cases[] = {
      {platform::SystemLogType::standard, "one", "<13>"},
      {platform::SystemLogType::info, "two", "<14>"},
      {platform::SystemLogType::error, std::string(9000, 'x'), "<11>"}};
  for (const auto& [type, text, priority] : cases) {
    const int service = open();
    log.write(type, text);
    char line[10000];
    const ssize_t count = ::recv(service, line, sizeof line, MSG_DONTWAIT);
    ASSERT_GT(count, 0) << priority;
    EXPECT_THAT(std::string(line, static_cast<std::size_t>(count)),
                ::testing::MatchesRegex(priority + time + end + text.substr(0, 8000)));
    ::close(service);
  }
  ::testing::internal::CaptureStderr();
  log.write(platform::SystemLogType::error, "nobody listens");
  EXPECT_THAT(::testing::internal::GetCapturedStderr(), ::testing::MatchesRegex(end + "nobody listens\n"));
}

TEST(HeadlessPlatform, FillsEmptyPortsAndTouchesNothing) {
  const TemporaryFolder folder;
  platform::Platform platform;
  const auto own = std::make_shared<host::ManualClock>(dateSince1970(0));
  platform.clock = own;
  host::fillHeadless(platform, host::XdgHomes::below(folder.path()));
  EXPECT_EQ(platform.clock, own);
  EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
  platform.userDefaults->set("a", 1);
  EXPECT_EQ(platform.secureStore->add("s", "b"), platform::SecureStore::success);
  EXPECT_TRUE(std::filesystem::exists(folder / "config/host_test/defaults.json"));
  EXPECT_TRUE(std::filesystem::exists(folder / "data/host_test/secure-store.json"));
  EXPECT_TRUE(platform.mainQueue && platform.httpTransport && platform.deviceFacts && platform.application &&
              platform.systemLog);
}

}  // namespace
}  // namespace sorn::tests
