#pragma once

// Misbehaviour on order: which calls it strikes, how often, and what it does to their answers.

#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "sorn-emulator/Http.h"

namespace sorn::emulator {

struct Fault {
  enum class Kind {
    status,   // another status; the call is refused
    delay,    // the right answer, `seconds` late
    slow,     // the right answer, its body in ten pieces spread over `seconds`
    hang,     // no answer; the connection stays open until the caller leaves or `seconds` are over
    cut,      // half of the answer's body
    reset,    // no answer; the connection is reset (RST)
    garbage,  // a body that is neither JSON nor gzip, or with `raw` bytes that are no HTTP answer at all
  };

  std::string path;  // an ending of the path such as "events/report/json", "storage" (published files) or "*"
  Kind kind = Kind::status;
  int status = 500;
  double seconds = 0;
  std::optional<int> times;  // absent: until the faults are replaced
  std::optional<bool> kept;  // whether the service takes the call's content; see `takesContent`
  // Of `cut`: true announces the short length, so that HTTP looks whole and only the content ends early;
  // false ends the connection before the announced length. Absent: true for gzip bodies, else false.
  std::optional<bool> framed;
  bool raw = false;
  Headers headers;                  // of `status`, added to the answer
  std::optional<std::string> body;  // of `status`, in place of an error object

  // Whether the service takes the call in before the fault strikes. Unless `kept` says otherwise, a fault
  // that spoils an answer (delay, slow, cut, garbage) leaves the call taken, and one in place of an answer
  // does not.
  bool takesContent() const;
};

class FaultPlan {
 public:
  // Replaces the plan by a JSON list; throws std::invalid_argument and keeps the old plan when it is not one.
  void replace(std::string_view json);
  void clear();

  // The first fault that fits a path and still has a turn, which is used up by this.
  std::optional<Fault> take(std::string_view path, bool isStorage);

 private:
  std::mutex mutex_;
  std::vector<Fault> faults_;
};

}  // namespace sorn::emulator
