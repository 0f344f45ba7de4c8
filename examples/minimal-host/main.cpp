// The smallest whole host: starts the library, reports one event, tells it about the end.

#include <chrono>
#include <cstdio>
#include <thread>

#include "sorn/Sorn.h"
#include "sorn/platform/Headless.h"

int main() {
  sorn::platform::HeadlessOptions options;
  options.identifier = "com.example.minimal-host";
  options.version = "1.0";
  options.resourceDirectories = {"."};  // where Example.plist lies
  sorn::platform::install(sorn::platform::headless(options));

  sorn::Sorn& library = sorn::Sorn::manager();
  try {
    library.start("Example");
    library.applicationDidFinishLaunching();
    library.logEventWith("coffee", "cup poured", sorn::Dictionary{{"size", "large"}, {"sugar", 2}});
  } catch (const sorn::SornError& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
  }
  // What an application does with its life. Events that wait are reported every ten seconds.
  std::this_thread::sleep_for(std::chrono::seconds(12));
  // The closing event is stored when this returns; the next run of the host reports what this one could not.
  library.applicationWillTerminate();
  return 0;
}
