#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json.hpp>

#include "fakes/ChildProcess.h"
#include "fakes/TemporaryFolder.h"
#include "sorn-emulator/Emulator.h"

namespace sorn::tests {

// A folder with a configuration file for the emulator, and a data folder that outlives single hosts.
struct Site {
  explicit Site(bool lightMode = false);

  emulator::Emulator service;
  tests::TemporaryFolder folder;
  std::filesystem::path configuration;
  std::filesystem::path data;
};

// The console host in a process of its own, which has started the library, with clocks that only `advance`
// moves.
class ConsoleHost : public ChildProcess {
 public:
  explicit ConsoleHost(const Site& site);

  // Sends the command and waits for its answer; throws when the host is gone.
  nlohmann::json run(std::string_view command);
  // The same for a command that has to succeed.
  nlohmann::json expect(std::string_view command);
  // The answer to a command that was only sent. Empty once the host is gone.
  nlohmann::json nextAnswer();
  // Logs so many events without pause, with the numbers from the first on in their extra data.
  void logEvents(int first, int count);

  // Has the system end it; gives its exit status.
  int terminate();
  // Memory that the process holds now, and the most it has held, in kilobytes.
  std::size_t residentMemory() const { return memory("VmRSS:"); }
  std::size_t peakMemory() const { return memory("VmHWM:"); }

 private:
  std::size_t memory(std::string_view field) const;
};

// The command that logs one event with this number.
std::string logCommand(int number);

// The numbers of the events that have arrived, sorted.
std::vector<int> numbersReceived(const emulator::Emulator& service);
// The same when each of so many has arrived once.
std::vector<int> numbersBelow(int end);

}  // namespace sorn::tests
