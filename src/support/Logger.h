#pragma once

#include <concepts>
#include <exception>
#include <memory>
#include <source_location>
#include <string>
#include <string_view>
#include <utility>

#include "sorn/platform/SystemLog.h"

namespace sorn {
class SornError;
}

namespace sorn::support {

enum class LogLevel { none, error, warning, success, info, timer, appEvent, custom };

enum class Forced { no, yes };

// Writes diagnostic lines for developers of host applications. Silent unless the environment holds
// SNSORN_FORCE_LOGGING; SNSORN_FORCE_PRINT_STATEMENTS sends the lines to standard output instead of the
// system log. Both are looked up at each call, so a disabled call costs two look-ups and formats nothing.
// Any thread; lines are written on a thread of the logger's own, in the order of the calls. A forced line is
// waited for, briefly: a host that returns from `main` right after it would take it along.
class Logger {
 public:
  explicit Logger(std::shared_ptr<platform::SystemLog> systemLog);
  ~Logger();

  // The message is a text, or a callable that makes one and runs only when the line is written.
  template <class Message>
  void log(LogLevel level, Message&& message,
           std::source_location location = std::source_location::current()) {
    const Switches switches = readSwitches();
    if (!switches.logging) return;
    if constexpr (std::invocable<Message&>) {
      write(level, message(), location, switches);
    } else {
      write(level, message, location, switches);
    }
  }

  // Whether plain lines are written at present.
  bool isEnabled() const { return readSwitches().logging; }

  // The error form: the error's own description at `error` level. A forced line is written although logging
  // is off.
  void log(const SornError& error, Forced forced,
           std::source_location location = std::source_location::current());
  void logDescription(std::string_view description, Forced forced,
                      std::source_location location = std::source_location::current());

  // Returns when every line handed over so far has been written.
  void flush();

 private:
  struct Switches {
    bool logging;
    bool printStatements;
  };
  class Writer;

  static Switches readSwitches();
  void write(LogLevel level, std::string_view message, std::source_location location, Switches switches,
             Forced forced = Forced::no);

  std::shared_ptr<platform::SystemLog> systemLog_;
  std::unique_ptr<Writer> writer_;
};

}  // namespace sorn::support
