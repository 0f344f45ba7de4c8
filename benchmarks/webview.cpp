// The same full-screen content drawn by the library and shown as HTML in a web view: the first complete
// frame, cold (a new process) and warm (each has drawn before). Needs a display, such as Xvfb's.

#include <cstdlib>
#include <string>

#include "Children.h"
#include "Figures.h"

namespace sorn::bench {
namespace {

struct Times {
  Samples cold;  // milliseconds
  Samples warm;
  Samples again;  // of the web view alone: the same view
};

void measure(const char* program, Times& times) {
  const auto begin = Clock::now();
  Child child(program, {});
  if (child.readLine() != "drawn") return;
  times.cold.add(microsecondsSince(begin) / 1000);
  times.warm.add(std::stod(child.readLine()));
  if (const std::string line = child.readLine(); !line.empty()) times.again.add(std::stod(line));
  child.wait();
}

void run() {
  Figures figures("Against a web view");
  if (!std::getenv("DISPLAY") && !std::getenv("WAYLAND_DISPLAY"))
    return figures.note("no display: not measured");
  constexpr int rounds = 7;
  Times ours;
  Times web;
  // Once each beforehand, so that neither pays for reading its libraries from the disk.
  Times unread;
  measure("bench-draw-process", unread);
  measure("bench-web-process", unread);
  for (int round = 0; round < rounds; ++round) {
    measure("bench-draw-process", ours);
    measure("bench-web-process", web);
  }
  if (web.cold.count() == 0 || ours.cold.count() == 0) return figures.note("a process has not drawn");
  figures.plain("first complete frame, cold: drawn by the library", ours.cold.median(), "ms");
  figures.plain("first complete frame, cold: HTML in the web view", web.cold.median(), "ms");
  figures.atLeast("sooner, both cold", web.cold.median() / ours.cold.median(), 5, "times");
  figures.plain("first complete frame, warm: drawn by the library", ours.warm.median(), "ms");
  figures.plain("first complete frame, warm: HTML in a new web view", web.warm.median(), "ms");
  figures.atLeast("sooner, both warm", web.warm.median() / ours.warm.median(), 20, "times");
  figures.plain("another page in the same web view", web.again.median(), "ms");
  figures.plain("sooner than that", web.again.median() / ours.warm.median(), "times");
}

}  // namespace
}  // namespace sorn::bench

int main() { sorn::bench::run(); }
