#include <future>
#include <map>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

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

TEST(XdgDirectories, FollowTheEnvironment) {
  struct Case {
    const char* data;
    const char* config;
    const char* documents;
    const char* defaults;
  };
  const Case cases[] = {
      {nullptr, nullptr, "/h/.local/share/app/documents", "/h/.config/app/defaults.json"},
      {"/d", "/c", "/d/app/documents", "/c/app/defaults.json"},
      {"relative", "", "/h/.local/share/app/documents", "/h/.config/app/defaults.json"},
  };
  for (const Case& each : cases) {
    setVariable("HOME", "/h");
    setVariable("XDG_DATA_HOME", each.data);
    setVariable("XDG_CONFIG_HOME", each.config);
    const host::XdgDirectories directories(host::XdgHomes::fromEnvironment(), "app");
    EXPECT_THAT(directories.documents(), ::testing::ElementsAre(each.documents));
    EXPECT_EQ(directories.defaultsFile(), each.defaults);
  }
}

TEST(XdgDirectories, KeepAnApplicationInsideItsFolder) {
  const auto homes = host::XdgHomes::below("/root");
  const host::XdgDirectories slashes(homes, "../evil/app");
  EXPECT_THAT(slashes.applicationSupport(),
              ::testing::ElementsAre("/root/data/.._evil_app/application-support"));
  EXPECT_EQ(slashes.secureStoreFile(), "/root/data/.._evil_app/secure-store.json");
  for (const char* name : {"", ".", ".."}) {
    const host::XdgDirectories none(homes, name);
    EXPECT_THAT(none.documents(), ::testing::IsEmpty());
    EXPECT_EQ(none.defaultsFile(), std::nullopt);
  }
  EXPECT_THAT(host::XdgDirectories({}, "app").documents(), ::testing::IsEmpty());
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
}

TEST(HostBundle, MakesTextOfANameInAnotherEncoding) {
  const std::pair<const char*, const char*> cases[] = {{"caf\xE9 1", "caf%e9 1"},
                                                       {"\xC3\xA9\xFF", "%c3%a9%ff"},
                                                       {"caf\xC3\xA9", "caf\xC3\xA9"},
                                                       {"50%", "50%"}};
  host::HostBundle bundle;
  for (const auto& [name, identifier] : cases) {
    bundle.setIdentifier(name);
    EXPECT_EQ(bundle.identifier(), identifier);
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

TEST(LinuxDeviceFacts, AreReadFromTheSystemsFiles) {
  const TemporaryFolder root;
  root.write("sys/class/dmi/id/product_name", "Slate 7\n");
  root.write("sys/class/dmi/id/chassis_type", "30\n");
  root.write("etc/os-release", "NAME=\"A\"\n#VERSION_ID=9\nVERSION_ID=\"12\"\n");
  root.write("sys/class/drm/card0-DP-1/status", "disconnected\n");
  root.write("sys/class/drm/card0-DP-1/modes", "800x600\n");
  root.write("sys/class/drm/card0-eDP-1/status", "connected\n");
  root.write("sys/class/drm/card0-eDP-1/modes", "2160x1440\n1920x1080\n");
  const LinuxDeviceFacts facts(root.path());
  EXPECT_EQ(facts.model(), "Slate 7");
  EXPECT_EQ(facts.idiom(), DeviceIdiom::tablet);
  EXPECT_EQ(facts.systemVersion(), "12");
  ASSERT_TRUE(facts.screen());
  EXPECT_EQ(facts.screen()->width, 2160);
  EXPECT_EQ(facts.screen()->height, 1440);
}

TEST(LinuxDeviceFacts, KnowAPhoneByItsDeviceTreeAndItsAdministrator) {
  const TemporaryFolder root;
  root.write("proc/device-tree/model", std::string_view("Pine Phone\0", 11));
  root.write("proc/device-tree/chassis-type", std::string_view("handset\0", 8));
  const LinuxDeviceFacts facts(root.path());
  EXPECT_EQ(facts.model(), "Pine Phone");
  EXPECT_EQ(facts.idiom(), DeviceIdiom::phone);
  root.write("etc/machine-info", "CHASSIS=desktop\n");
  EXPECT_EQ(facts.idiom(), DeviceIdiom::unspecified);
  root.write("etc/machine-info", "CHASSIS='tablet'\n");
  EXPECT_EQ(facts.idiom(), DeviceIdiom::tablet);
}

TEST(LinuxDeviceFacts, AreAbsentWhereNothingIsToBeRead) {
  const TemporaryFolder root;
  const LinuxDeviceFacts empty(root.path(), [](const char*) { return nullptr; });
  EXPECT_EQ(empty.model(), std::nullopt);
  EXPECT_EQ(empty.idiom(), DeviceIdiom::unspecified);
  EXPECT_EQ(empty.systemVersion(), std::nullopt);
  EXPECT_FALSE(empty.screen());
  EXPECT_EQ(empty.language(), std::nullopt);
  EXPECT_EQ(empty.region(), std::nullopt);
  // A file beyond all reason, a folder in a file's place, and values of blanks.
  root.write("sys/class/dmi/id/product_name", std::string(100000, 'x'));
  std::filesystem::create_directories(root / "etc/os-release");
  root.write("usr/lib/os-release", "VERSION_ID=\"\"\n");
  root.write("sys/class/drm/card0/status", "connected\n");
  root.write("sys/class/drm/card0/modes", "0x0\n");
  EXPECT_EQ(empty.model(), std::nullopt);
  EXPECT_EQ(empty.systemVersion(), std::nullopt);
  EXPECT_FALSE(empty.screen());
}

TEST(LinuxDeviceFacts, SplitTheLocale) {
  struct Case {
    std::map<std::string, const char*> environment;
    std::optional<std::string> language;
    std::optional<std::string> region;
  };
  const Case cases[] = {
      {{{"LANG", "de_CH.UTF-8"}}, "de", "CH"},
      {{{"LANG", "de_CH"}, {"LC_MESSAGES", "fr_FR@euro"}}, "fr", "FR"},
      {{{"LANG", "de_CH"}, {"LC_ALL", "sr_RS.UTF-8@latin"}}, "sr", "RS"},
      {{{"LANG", "de_CH"}, {"LC_ALL", ""}}, "de", "CH"},
      {{{"LANG", "eo"}}, "eo", std::nullopt},
      {{{"LANG", "C.UTF-8"}}, std::nullopt, std::nullopt},
      {{{"LANG", "POSIX"}}, std::nullopt, std::nullopt},
      {{{"LANG", "_"}}, std::nullopt, std::nullopt},
  };
  for (const Case& each : cases) {
    const LinuxDeviceFacts facts("/nowhere", [&](const char* name) {
      const auto found = each.environment.find(name);
      return found == each.environment.end() ? nullptr : found->second;
    });
    EXPECT_EQ(facts.language(), each.language);
    EXPECT_EQ(facts.region(), each.region);
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

TEST(MainQueueThread, IsNotStarvedByWorkThatPostsItself) {
  host::MainQueueThread queue;
  std::atomic<bool> isOver{false};
  std::promise<void> done;
  std::function<void()> again = [&] {
    if (!isOver) queue.post(again);
  };
  queue.post(again);
  queue.postAfter(milliseconds(5), [&] { isOver = true, done.set_value(); });
  EXPECT_EQ(done.get_future().wait_for(std::chrono::seconds(10)), std::future_status::ready);
}

TEST(MainQueueThread, MayDieWithinItsOwnWork) {
  auto queue = std::make_shared<host::MainQueueThread>();
  std::promise<void> released;
  std::promise<void> done;
  queue->post([&, held = queue]() mutable {
    released.get_future().wait();
    held.reset();
    done.set_value();
  });
  queue.reset();
  released.set_value();
  EXPECT_EQ(done.get_future().wait_for(std::chrono::seconds(10)), std::future_status::ready);
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

TEST(ManualClock, MovesOnlyByHandAndTellsItsObserver) {
  host::ManualClock clock(dateSince1970(1000));
  std::vector<double> seen;
  clock.setObserver([&] { seen.push_back(clock.monotonic().count() + secondsSince1970(clock.now())); });
  clock.advance(platform::Monotonic(2.5));
  clock.jumpTo(dateSince1970(10));
  EXPECT_THAT(seen, ::testing::ElementsAre(2.5 + 1002.5, 2.5 + 10));
  EXPECT_FALSE(clock.runsByItself());
}

TEST(Syslog, SendsEachLineWithItsTypeAndLabel) {
  const TemporaryFolder folder;
  const std::string path = folder / "log";
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  path.copy(address.sun_path, path.size());
  const auto open = [&] {
    const int descriptor = ::socket(AF_UNIX, SOCK_DGRAM, 0);
    EXPECT_EQ(::bind(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    return descriptor;
  };
  const auto receive = [](int descriptor) {
    char line[10000];
    const ssize_t count = ::recv(descriptor, line, sizeof line, MSG_DONTWAIT);
    return count < 0 ? std::string() : std::string(line, static_cast<std::size_t>(count));
  };
  int service = open();
  host::Syslog log("label", path);
  const std::string end = " label\\[" + std::to_string(::getpid()) + "\\]: ";
  const std::string time = "[A-Z][a-z]{2} [ 0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2}";
  // Facility user (1) times eight, plus notice 5, info 6, error 3.
  log.write(platform::SystemLogType::standard, "one");
  EXPECT_THAT(receive(service), ::testing::MatchesRegex("<13>" + time + end + "one"));
  log.write(platform::SystemLogType::info, "two");
  EXPECT_THAT(receive(service), ::testing::MatchesRegex("<14>" + time + end + "two"));
  // The service begins anew: the next line finds it.
  ::close(service);
  ::unlink(path.c_str());
  service = open();
  log.write(platform::SystemLogType::error, std::string(9000, 'x'));
  EXPECT_THAT(receive(service), ::testing::MatchesRegex("<11>" + time + end + "x+"));
  ::close(service);
  ::unlink(path.c_str());
  ::testing::internal::CaptureStderr();
  log.write(platform::SystemLogType::error, "nobody listens");
  EXPECT_THAT(::testing::internal::GetCapturedStderr(),
              ::testing::MatchesRegex(end.substr(1) + "nobody listens\n"));
}

TEST(HeadlessPlatform, FillsEmptyPortsAndTouchesNothing) {
  const TemporaryFolder folder;
  platform::Platform platform;
  const auto own = std::make_shared<host::ManualClock>(dateSince1970(0));
  platform.clock = own;
  host::fillHeadless(platform, host::XdgHomes::below(folder.path()));
  EXPECT_EQ(platform.clock, own);
  EXPECT_THAT(platform.directories->documents(), ::testing::ElementsAre(folder / "data/host_test/documents"));
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
