// The road of one event: how long it holds its caller, against a bare loop over SQLite; the queue's turn and
// the silent logger by themselves.

#include <cstdlib>
#include <string>
#include <thread>

#include "BareStore.h"
#include "Children.h"
#include "Figures.h"
#include "Host.h"

namespace sorn::bench {
namespace {

constexpr std::size_t rowBytes = 600;
constexpr std::size_t slice = 500;

void logTimed(Host& host, Samples& samples) {
  const auto begin = Clock::now();
  host.log();
  samples.add(microsecondsSince(begin));
}

void showTail(Figures& figures, const std::string& when, const Samples& samples) {
  figures.plain(when + ": median", samples.median(), "us");
  figures.plain(when + ": 99th percentile", samples.quantile(0.99), "us");
  figures.atMost(when + ": 99.9th percentile", samples.quantile(0.999), 600, "us");
}

// The two loops take turns, so that both see the same machine. The bare loop's check-points are outside its
// timing; the library's own are inside.
void throughput(Figures& figures) {
  constexpr std::size_t events = 100'000;
  const Folder folder;
  figures.note("File system of the data: " + folder.fileSystem() + "; durability: process");
  Host host(folder.path(), std::string(deadOrigin), endless);
  BareStore bare(folder.path() / "bare.sqlite");
  const std::string text(rowBytes, 'x');
  for (std::size_t warm = 0; warm < slice; ++warm) {
    host.log();
    bare.insert(text);
  }
  Samples ours;
  Samples theirs;
  Samples oursBySlice;
  Samples bareBySlice;
  for (std::size_t done = 0; done < events; done += slice) {
    auto begin = Clock::now();
    for (std::size_t call = 0; call < slice; ++call) logTimed(host, ours);
    oursBySlice.add(microsecondsSince(begin));
    begin = Clock::now();
    for (std::size_t call = 0; call < slice; ++call) {
      const auto started = Clock::now();
      bare.insert(text);
      theirs.add(microsecondsSince(started));
    }
    bareBySlice.add(microsecondsSince(begin));
    if (done % (4 * slice) == 0) bare.checkpoint();
  }
  const double ourRate = static_cast<double>(events) / oursBySlice.sum() * 1e6;
  const double bareRate = static_cast<double>(events) / bareBySlice.sum() * 1e6;
  figures.plain("logEventWith, six values", ourRate, "events/s");
  figures.plain("bare loop, one prepared insert of 600 bytes", bareRate, "rows/s");
  figures.atLeast("logEventWith against the bare loop", 100 * ourRate / bareRate, 70, "%");
  figures.plain("logEventWith against the bare loop, median slice",
                100 * bareBySlice.median() / oursBySlice.median(), "%");
  showTail(figures, "hot loop", ours);
  figures.atMost("hot loop: worst of 100,000", ours.quantile(1) / 1000, 10, "ms");
  // What the machine itself did to a call meanwhile.
  figures.plain("bare loop: 99.9th percentile", theirs.quantile(0.999), "us");
  figures.plain("bare loop: worst of 100,000", theirs.quantile(1) / 1000, "ms");
}

void oneEachMillisecond(Figures& figures) {
  constexpr int events = 2'000;
  const Folder folder;
  Host host(folder.path(), std::string(deadOrigin), endless);
  BareStore bare(folder.path() / "bare.sqlite");
  const std::string text(rowBytes, 'x');
  Samples ours;
  Samples theirs;
  auto next = Clock::now();
  for (int event = 0; event < events; ++event) {
    std::this_thread::sleep_until(next += std::chrono::milliseconds(1));
    logTimed(host, ours);
    std::this_thread::sleep_until(next += std::chrono::milliseconds(1));
    const auto begin = Clock::now();
    bare.insert(text);
    theirs.add(microsecondsSince(begin));
  }
  figures.plain("one event each 2 ms: median", ours.median(), "us");
  figures.plain("one event each 2 ms: bare insert, median", theirs.median(), "us");
}

// A report begins whenever 5,000 events wait, so nearly always one is being built or is on its way.
void whileReporting(Figures& figures) {
  constexpr std::size_t events = 100'000;
  const Service service;
  const Folder folder;
  Host host(folder.path(), service.origin(), 5'000);
  Samples samples;
  for (std::size_t event = 0; event < events; ++event) logTimed(host, samples);
  const auto left = static_cast<double>(host.waiting());
  figures.plain("while reports are built and sent: events reported meanwhile", events - left, "");
  showTail(figures, "while reports are built and sent", samples);
  figures.atMost("while reports are built and sent: worst of 100,000", samples.quantile(1) / 1000, 10, "ms");
  host.waitUntilIdle();
}

// The best of several rounds: what the machine does besides only adds.
template <class Work>
double nanosecondsOf(Work&& work) {
  constexpr int rounds = 7;
  constexpr int calls = 200'000;
  double best = 1e9;
  for (int round = 0; round < rounds; ++round) {
    const auto begin = Clock::now();
    for (int call = 0; call < calls; ++call) work();
    best = std::min(best, microsecondsSince(begin) * 1000 / calls);
  }
  return best;
}

void turnOfTheQueue(Figures& figures) {
  const Folder folder;
  Host host(folder.path(), std::string(deadOrigin), endless);
  store::ManagedObjectContext& context = host.library().context();
  int turns = 0;
  const double time = nanosecondsOf([&] { context.performBlockAndWait([&] { ++turns; }); });
  figures.atMost("uncontended performBlockAndWait", time / 1000, 0.06, "us");
}

void silentLogger(Figures& figures) {
  support::Logger logger(nullptr);
  std::size_t formatted = 0;
  const double ours = nanosecondsOf(
      [&] { logger.log(support::LogLevel::info, [&] { return std::to_string(++formatted); }); });
  const char* volatile found = nullptr;
  const double bare = nanosecondsOf([&] {
    found = std::getenv("SNSORN_FORCE_LOGGING");
    found = std::getenv("SNSORN_FORCE_PRINT_STATEMENTS");
  });
  figures.plain("two environment look-ups", bare, "ns");
  figures.atMost("disabled logger against two environment look-ups", ours / bare, 1.2, "times");
  figures.atMost("messages formatted by the disabled logger", static_cast<double>(formatted), 0, "");
}

}  // namespace
}  // namespace sorn::bench

int main() {
  using namespace sorn::bench;
  Figures figures("The road of one event");
  throughput(figures);
  oneEachMillisecond(figures);
  whileReporting(figures);
  turnOfTheQueue(figures);
  silentLogger(figures);
}
