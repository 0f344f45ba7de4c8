#pragma once

#include <condition_variable>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>

#include "Arguments.h"
#include "CommandLine.h"
#include "facade/Diagnostics.h"
#include "host/SystemClock.h"
#include "sorn/Sorn.h"

namespace sorn::console {

// Writes one line of JSON and flushes it. Any thread.
void writeLine(const Dictionary& line);

// The commands that drive the library, each a thin layer over one operation of it.
class Commands {
 public:
  explicit Commands(const Arguments& arguments);

  // Runs the line and answers it, now or on completion. Nothing that the host did wrong leaves this function.
  // One thread; once the end has begun it never returns.
  void run(std::string_view line);
  // What the system's request to end does. A command that runs has a moment to finish and is then cut off.
  // The process ends with it. Any thread.
  [[noreturn]] void terminate();
  // Ends the process without a farewell, as after a crash, unless `terminate` is at work already.
  [[noreturn]] void leave();

 private:
  // Returns what the answer tells besides the command.
  using Handler = std::function<Dictionary(const CommandLine&)>;

  void addCommands();
  void addEventCommands();
  void addUserCommands();
  void addLifecycleCommands();
  void addClockCommands();
  void advance(double seconds);
  void setClock(double seconds);
  Dictionary state();
  Dictionary answerTo(std::string_view line);
  void beginTurn();
  void endTurn();

  const std::string configuration_;
  std::shared_ptr<host::ManualClock> clock_;  // null when the machine's own clocks are used
  Sorn& sorn_;
  facade::Diagnostics diagnostics_;
  std::map<std::string, Handler, std::less<>> handlers_;

  std::mutex turnMutex_;
  std::condition_variable turnEnded_;
  bool isBusy_ = false;  // with a command
  bool isEnding_ = false;
};

}  // namespace sorn::console
