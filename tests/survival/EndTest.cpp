#include <set>
#include <sstream>

#include <gtest/gtest.h>

#include "fakes/RawDatabase.h"
#include "survival/ConsoleHost.h"

namespace sorn::tests {
namespace {

constexpr int eventsInRun = 25;  // more than a batch, so that a report is on its way

std::set<int> numbersStored(const std::filesystem::path& data) {
  const std::filesystem::path file = data / "data/ending-host/documents/SNSornDB.sqlite";
  std::istringstream list(
      RawDatabase(file).column("SELECT json_extract(extra, '$.N_number') FROM SNEvent WHERE "
                               "json_extract(extra, '$.N_number') IS NOT NULL"));
  std::set<int> numbers;
  for (std::string number; std::getline(list, number, ',');) numbers.insert(std::stoi(number));
  return numbers;
}

// Hosts that return from `main` at once, over one store; the service is there or it is not.
void endAtOnce(int runs) {
  Site site;
  for (int run = 0; run < runs; ++run) {
    if (run % 20 == 10) site.service.stop();
    if (run % 20 == 0) site.service.start();
    ChildProcess host({SORN_ENDING_HOST, site.folder.path(), std::to_string(run * (eventsInRun + 1)),
                       std::to_string(eventsInRun)});
    ASSERT_EQ(host.wait(), 0) << "run " << run;
  }
  std::set<int> numbers = numbersStored(site.folder.path());
  for (const int number : numbersReceived(site.service)) numbers.insert(number);
  EXPECT_EQ(numbers.size(), static_cast<std::size_t>(runs * (eventsInRun + 1))) << "of that many events";
}

}  // namespace

TEST(End, HostThatReturnsFromMainAtOnceEndsWellAndLosesNothing) { endAtOnce(60); }

TEST(End, SoakThousandEndsOfAProcessGoWell) { endAtOnce(1000); }

}  // namespace sorn::tests
