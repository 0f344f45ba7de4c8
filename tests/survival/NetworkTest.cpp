#include <algorithm>
#include <numeric>
#include <set>
#include <thread>

#include <gtest/gtest.h>

#include "survival/ConsoleHost.h"

namespace sorn::tests {
namespace {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool hasSanitizer = true;
#else
constexpr bool hasSanitizer = false;
#endif

void logEvents(ConsoleHost& host, int first, int count) {
  std::string commands;
  for (int number = first; number < first + count; ++number) {
    commands += "log network \"event logged\" {\"number\":" + std::to_string(number) + "}\n";
  }
  std::thread writer([&] { host.send(commands); });
  for (int answer = 0; answer < count; ++answer) EXPECT_TRUE(host.nextAnswer().at("ok").get<bool>());
  writer.join();
}

// Every record that has a status is at `true`, and no event is left.
void expectNothingWaits(ConsoleHost& host) {
  const nlohmann::json records = host.expect("state").at("records");
  for (const auto& [entity, counts] : records.items()) {
    EXPECT_EQ(counts.at("false"), 0) << entity << records.dump();
    EXPECT_EQ(counts.at("pending"), 0) << entity << records.dump();
  }
  EXPECT_FALSE(records.contains("SNEvent")) << records.dump();
}

TEST(Network, EveryEventArrivesThroughEachMisbehaviour) {
  Site site;
  ConsoleHost host(site.configuration, site.data);
  host.expect("start");
  // Time for maintenance to introduce the default user: only the active user is ever sent.
  host.expect("advance 121");
  const char* faults[] = {
      R"([{"path":"*","kind":"status","status":500}])",
      R"([{"path":"*","kind":"status","status":400}])",
      R"([{"path":"*","kind":"reset"}])",
      R"([{"path":"events/report/json","kind":"cut"}])",
      R"([{"path":"*","kind":"garbage"}])",
      R"([{"path":"*","kind":"delay","seconds":0.2}])",
      R"([{"path":"events/report/json","kind":"status","status":503,"times":3}])",
  };
  int next = 0;
  std::set<int> expected;
  for (const char* fault : faults) {
    site.service.setFaults(fault);
    logEvents(host, next, 25);
    next += 25;
    host.expect("login somebody");
    host.expect("tags [\"tag " + std::to_string(next) + "\"]");
    host.expect("advance 130");
  }
  site.service.setFaults("[]");
  site.service.stop();
  logEvents(host, next, 25);
  next += 25;
  host.expect("advance 130");
  site.service.start();
  host.expect("advance 130");
  const std::vector<int> numbers = numbersReceived(site.service);
  const std::set<int> received(numbers.begin(), numbers.end());
  EXPECT_EQ(received.size(), static_cast<std::size_t>(next));
  expectNothingWaits(host);
  for (const auto& request : site.service.requests()) EXPECT_EQ(request.signature, "valid");
}

// The service is away while very many events come; memory must not grow with them, nor by more than about the
// report's body when it is sent.
void runBacklog(int events, std::size_t allowedGrowth) {
  Site site(/*lightMode=*/true);
  ConsoleHost host(site.configuration, site.data);
  host.expect("start");
  host.expect("advance 0");
  site.service.stop();
  logEvents(host, 0, events / 10);
  const std::size_t early = host.residentMemory();
  logEvents(host, events / 10, events - events / 10);
  const std::size_t waiting = host.residentMemory();
  // The sanitizers keep freed memory for a while.
  if (!hasSanitizer) {
    EXPECT_LT(waiting, early + allowedGrowth) << "from " << early << " to " << waiting << " kB";
  }
  host.expect("advance 61");
  site.service.start();
  const std::size_t before = site.service.eventCount();
  host.expect("advance 61");
  host.expect("advance 61");
  EXPECT_EQ(site.service.eventCount() - before, static_cast<std::size_t>(events) + 1)
      << "with the session's own";
  expectNothingWaits(host);
  std::cout << events << " events waited: " << early << " kB after a tenth, " << waiting << " kB after all, "
            << host.peakMemory() << " kB at most\n";
}

TEST(Network, MemoryStaysFlatWhileFiveThousandEventsWait) { runBacklog(5'000, 4'000); }

TEST(Network, SoakMemoryStaysFlatWhileAHundredThousandEventsWait) { runBacklog(100'000, 4'000); }

TEST(Network, SoakSilentServiceIsGivenUpAndTriedAgain) {
  Site site;
  ConsoleHost host(site.configuration, site.data);
  host.expect("start");
  host.expect("advance 0");
  site.service.setFaults(R"([{"path":"events/report/json","kind":"hang","times":1}])");
  logEvents(host, 0, 9);
  host.expect("advance 130");
  EXPECT_EQ(numbersReceived(site.service).size(), 9u);
  expectNothingWaits(host);
}

TEST(Clock, JumpsByHoursAndDaysLoseNothing) {
  Site site;
  ConsoleHost host(site.configuration, site.data);
  host.expect("start");
  int next = 0;
  for (const char* jump :
       {"clock -3600", "clock 864000", "clock -864000", "clock 7200", "clock -259200", "clock 31"}) {
    logEvents(host, next, 7);
    host.expect(jump);
    logEvents(host, next + 7, 6);
    next += 13;
    host.expect("advance 65");
  }
  const std::vector<int> numbers = numbersReceived(site.service);
  std::vector<int> expected(static_cast<std::size_t>(next));
  std::iota(expected.begin(), expected.end(), 0);
  std::vector<int> sorted = numbers;
  std::ranges::sort(sorted);
  EXPECT_EQ(sorted, expected);
  expectNothingWaits(host);
}

}  // namespace
}  // namespace sorn::tests
