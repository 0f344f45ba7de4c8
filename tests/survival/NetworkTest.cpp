#include <set>

#include <gtest/gtest.h>

#include "survival/ConsoleHost.h"

namespace sorn::tests {
namespace {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool hasSanitizer = true;
#else
constexpr bool hasSanitizer = false;
#endif

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
  ConsoleHost host(site);
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
  for (const char* fault : faults) {
    site.service.setFaults(fault);
    host.logEvents(next, 25);
    next += 25;
    host.expect("login somebody");
    host.expect("tags [\"tag " + std::to_string(next) + "\"]");
    host.expect("advance 130");
  }
  site.service.setFaults("[]");
  site.service.stop();
  host.logEvents(next, 25);
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
  ConsoleHost host(site);
  host.expect("advance 0");
  site.service.stop();
  host.logEvents(0, events / 10);
  const std::size_t early = host.residentMemory();
  host.logEvents(events / 10, events - events / 10);
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
  ConsoleHost host(site);
  host.expect("advance 0");
  site.service.setFaults(R"([{"path":"events/report/json","kind":"hang","times":1}])");
  host.logEvents(0, 9);
  host.expect("advance 130");
  EXPECT_EQ(numbersReceived(site.service), numbersBelow(9));
  expectNothingWaits(host);
}

TEST(Clock, JumpsByHoursAndDaysLoseNothing) {
  Site site;
  ConsoleHost host(site);
  int next = 0;
  for (const char* jump :
       {"clock -3600", "clock 864000", "clock -864000", "clock 7200", "clock -259200", "clock 31"}) {
    host.logEvents(next, 7);
    host.expect(jump);
    host.logEvents(next + 7, 6);
    next += 13;
    host.expect("advance 65");
  }
  EXPECT_EQ(numbersReceived(site.service), numbersBelow(next));
  expectNothingWaits(host);
}

}  // namespace
}  // namespace sorn::tests
