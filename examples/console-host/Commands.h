#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>

#include "Arguments.h"
#include "CommandLine.h"
#include "facade/Diagnostics.h"
#include "linux/SystemClock.h"
#include "sorn/Sorn.h"

namespace sorn::console {

// Writes one line of JSON and flushes it. Any thread.
void writeLine(const Dictionary& line);

// The commands that drive the library, each a thin layer over one operation of it.
class Commands {
 public:
  explicit Commands(const Arguments& arguments);

  // Runs the line and answers it, now or on completion. Nothing that the host did wrong leaves this function.
  void run(std::string_view line);
  // What the system's request to end does. The process ends with it.
  [[noreturn]] void terminate();

 private:
  // Returns what the answer tells besides the command.
  using Handler = std::function<Dictionary(const CommandLine&)>;

  void addCommands();
  void addUserCommands();
  void addLifecycleCommands();
  void addClockCommands();
  void advance(double seconds);
  Dictionary state();

  const std::string configuration_;
  std::shared_ptr<headless::ManualClock> clock_;  // null when the machine's own clocks are used
  Sorn& sorn_;
  facade::Diagnostics diagnostics_;
  std::map<std::string, Handler, std::less<>> handlers_;
};

}  // namespace sorn::console
