#include <atomic>
#include <filesystem>
#include <random>

#include <gtest/gtest.h>

#include "fakes/TestHost.h"

namespace sorn::tests {
namespace {

// Maintenance by the clock with a service that fails now and then, and sometimes for hours.
void runDays(int days) {
  TestHost host;
  std::mt19937 random(7);
  auto library = host.launch();
  std::atomic<bool> isDown = false;
  host.transport->setHandler([&isDown, serviceRandom = std::mt19937(8)](const auto&) mutable {
    const TestHost::Result answers[] = {
        answer(503), platform::TransportError{platform::TransportError::timedOut}, answer(200, "{\"cut")};
    if (isDown) return TestHost::Result(platform::TransportError{platform::TransportError::cannotConnect});
    const auto number = serviceRandom() % 8;
    return number < std::size(answers) ? answers[number] : answer(200);
  });
  facade::Diagnostics diagnostics(library->sorn());
  library->services().reconciliation;
  library->context().performBlockAndWait(
      [&] { library->services().reconciliation.run(facade::SornMode::production); });
  std::size_t mostWaiting = 0;
  for (int hour = 0; hour < days * 24; ++hour) {
    isDown = random() % 6 == 0;
    for (int minute = 0; minute < 60; ++minute) {
      if (random() % 4 == 0)
        library->sorn().logEventWith("long run", "minute passed", Dictionary{{"minute", minute}});
      host.clock->advance(60);
      diagnostics.waitUntilIdle();
    }
    mostWaiting = std::max(mostWaiting, library->context().performBlockAndWait([&] {
      return library->context().count(store::SNEvent::entity());
    }));
  }
  isDown = false;
  host.transport->setHandler([](const auto&) { return answer(200); });
  for (int minute = 0; minute < 3; ++minute) {
    host.clock->advance(61);
    diagnostics.waitUntilIdle();
  }
  EXPECT_FALSE(diagnostics.recordCounts().contains("SNEvent"));
  library.reset();
  const auto size = std::filesystem::file_size(host.databaseFile());
  // Pages of deleted events are used again: the file is as large as the longest backlog needed.
  EXPECT_LT(size, 200'000 + mostWaiting * 2'048);
  std::cout << days << " days: at most " << mostWaiting << " events waited, the file has " << size
            << " bytes\n";
}

TEST(LongRun, ADayOfFailuresLeavesASmallStore) { runDays(1); }

TEST(LongRun, SoakThirtyDaysOfFailuresLeaveASmallStore) { runDays(30); }

}  // namespace
}  // namespace sorn::tests
