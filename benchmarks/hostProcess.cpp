// A host as small as can be: starts the library, saves events, ends. `bench-processes` measures it.
//   bench-host FOLDER EVENTS [SECONDS]
// Prints the microseconds of the start and, when it has waited, its kilobytes of memory.

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <thread>

#include "sorn/Sorn.h"
#include "sorn/platform/Headless.h"

int main(int count, char** words) {
  if (count < 3) return 2;
  const std::string folder = words[1];
  sorn::platform::HeadlessOptions options;
  options.identifier = "sorn-bench";
  options.resourceDirectories = {folder};
  options.dataDirectory = folder;
  const auto begin = std::chrono::steady_clock::now();
  sorn::platform::install(sorn::platform::headless(options));
  sorn::Sorn& library = sorn::Sorn::manager();
  library.start("Bench.plist");
  const std::chrono::duration<double, std::micro> start = std::chrono::steady_clock::now() - begin;
  const sorn::Dictionary data{
      {"product", "A rather ordinary garden chair"}, {"price", 49.95}, {"quantity", 3}};
  for (int events = std::atoi(words[2]); events > 0; --events) {
    library.logEventWith("navigation", "product_viewed", data);
  }
  std::printf("start %.1f\n", start.count());
  if (count > 3) {
    std::this_thread::sleep_for(std::chrono::duration<double>(std::atof(words[3])));
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
      if (line.starts_with("VmRSS:")) std::printf("memory %lld\n", std::atoll(line.c_str() + 6));
    }
  }
  return 0;
}
