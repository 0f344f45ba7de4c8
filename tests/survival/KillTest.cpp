#include <algorithm>
#include <chrono>
#include <map>
#include <random>
#include <set>
#include <thread>

#include <gtest/gtest.h>

#include "survival/ConsoleHost.h"

namespace sorn::tests {
namespace {

// Hosts that log without pause and are killed at random moments, one after another over one store.
class Kill : public ::testing::Test {
 protected:
  // Logs until the kill; notes which events were attempted and which calls had returned.
  void logAndKill(std::chrono::microseconds after) {
    ConsoleHost host(site);
    std::string commands;
    for (int count = 0; count < eventsInRun; ++count) {
      commands += logCommand(next);
      attempted.insert(next++);
    }
    int answered = next - eventsInRun;
    std::thread writer([&] { host.send(commands); });
    std::thread killer([&] {
      std::this_thread::sleep_for(after);
      ::kill(host.process(), SIGKILL);
    });
    for (nlohmann::json answer = host.nextAnswer(); !answer.is_null(); answer = host.nextAnswer()) {
      if (answer.at("ok").get<bool>()) returned.insert(answered++);
      if (answered == next) break;  // all were logged before the kill
    }
    killer.join();
    writer.join();
  }

  void run(int kills) {
    std::mt19937 random(20240229);
    std::uniform_int_distribution<int> moment(0, 150'000);
    for (int kill = 0; kill < kills; ++kill) logAndKill(std::chrono::microseconds(moment(random)));
    ConsoleHost last(site);
    last.expect("advance 121");
    EXPECT_FALSE(last.expect("state").at("records").contains("SNEvent"));
    const std::vector<int> numbers = numbersReceived(site.service);
    const std::set<int> received(numbers.begin(), numbers.end());
    EXPECT_TRUE(std::ranges::includes(received, returned)) << "an event is lost whose call had returned";
    EXPECT_TRUE(std::ranges::includes(attempted, received)) << "an event has come that nobody logged";
    EXPECT_GT(returned.size(), 0u);
    // A report that was out when its process died goes out again, but no process sends an event twice: so an
    // event arrives at most as often as there were processes from its own on.
    std::map<int, int> copies;
    for (const int number : numbers) ++copies[number];
    for (const auto& [number, count] : copies) EXPECT_LE(count, kills - number / eventsInRun + 1) << number;
    std::cout << kills << " kills: " << returned.size() << " of " << attempted.size()
              << " calls had returned, " << received.size() << " events and "
              << numbers.size() - received.size() << " repeats arrived\n";
  }

  static constexpr int eventsInRun = 400;

  Site site;
  int next = 0;
  std::set<int> attempted;
  std::set<int> returned;
};

TEST_F(Kill, EveryEventWhoseCallReturnedArrives) { run(20); }

TEST_F(Kill, SoakTwoHundredAndFiftyKillsLoseNothing) { run(250); }

TEST(Termination, ClosingEventOfATerminatedHostIsStored) {
  Site site;
  {
    ConsoleHost host(site);
    host.expect("launched");
    host.expect("advance 0");
    EXPECT_EQ(host.terminate(), 0);
  }
  ConsoleHost next(site);
  next.expect("advance 121");
  std::vector<std::string> actions;
  for (const auto& event : site.service.events()) actions.push_back(event.at("action").get<std::string>());
  EXPECT_EQ(actions, (std::vector<std::string>{"+APP_OPENED", "+APP_CLOSED"}));
}

// The clock has a year to go when the service hears of the first event, so the command is under way.
TEST(Termination, IsHeardInTheMiddleOfACommand) {
  Site site;
  ConsoleHost host(site);
  host.expect("launched");
  host.send("advance 31536000\n");
  ASSERT_TRUE(site.service.waitForEvents(1, std::chrono::seconds(30)));
  EXPECT_EQ(host.terminate(), 0);
  EXPECT_TRUE(host.nextAnswer().is_null());
  ConsoleHost next(site);
  next.expect("advance 121");
  EXPECT_EQ(site.service.events().back().at("action"), "+APP_CLOSED");
}

}  // namespace
}  // namespace sorn::tests
