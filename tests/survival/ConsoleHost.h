#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include <nlohmann/json.hpp>
#include <sys/types.h>

#include "linux/TemporaryFolder.h"
#include "sorn-emulator/Emulator.h"

namespace sorn::tests {

// The console host in a process of its own, with clocks that only `advance` moves.
class ConsoleHost {
 public:
  ConsoleHost(const std::filesystem::path& configuration, const std::filesystem::path& data);
  ~ConsoleHost();
  ConsoleHost(const ConsoleHost&) = delete;
  ConsoleHost& operator=(const ConsoleHost&) = delete;

  // Sends the command and waits for its answer; throws when the host is gone.
  nlohmann::json run(std::string_view command);
  // The same for a command that has to succeed.
  nlohmann::json expect(std::string_view command);

  // The two halves of `run`, for commands without pause. An answer is empty once the host is gone.
  bool send(std::string_view commands);
  nlohmann::json nextAnswer();

  // Ends the process as a crash would.
  void kill();
  // Has the system end it; gives its exit status.
  int terminate();
  pid_t process() const { return process_; }
  // Memory that the process holds now, and the most it has held, in kilobytes.
  std::size_t residentMemory() const { return memory("VmRSS:"); }
  std::size_t peakMemory() const { return memory("VmHWM:"); }

 private:
  std::size_t memory(std::string_view field) const;
  int wait();

  pid_t process_ = -1;
  int input_ = -1;
  int output_ = -1;
  std::string unread_;
};

// A folder with a configuration file for the emulator, and a data folder that outlives single hosts.
struct Site {
  explicit Site(bool lightMode = false);

  emulator::Emulator service;
  testing::TemporaryFolder folder;
  std::filesystem::path configuration;
  std::filesystem::path data;
};

// The `number` that the test's own events carry in their extra data, in the order of their arrival.
std::vector<int> numbersReceived(const emulator::Emulator& service);

}  // namespace sorn::tests
