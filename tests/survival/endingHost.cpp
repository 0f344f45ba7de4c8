// A host that ends the moment it has logged, with the library's threads in full work:
//   ending-host FOLDER FIRST COUNT
// Starts the library by FOLDER/Survivor.plist, logs COUNT events that are numbered from FIRST on, asks for a
// login, and returns from `main`. Its own static object dies afterwards, and logs one more as it does.

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "sorn/Sorn.h"
#include "sorn/platform/Headless.h"

namespace {

// Dies after `main` has returned, while threads of the library still run.
class Diary {
 public:
  ~Diary() {
    if (!pages_.empty()) {
      sorn::Sorn::manager().logEventWith("survival", "last words",
                                         sorn::Dictionary{{"number", pages_.back() + 1}});
    }
  }
  void write(int number) { pages_.push_back(number); }

 private:
  std::vector<int> pages_;
};

Diary diary;

}  // namespace

int main(int count, char** words) {
  if (count != 4) return 2;
  const std::string folder = words[1];
  sorn::platform::HeadlessOptions options;
  options.identifier = "ending-host";
  options.resourceDirectories = {folder};
  options.dataDirectory = folder;
  sorn::platform::install(sorn::platform::headless(options));
  sorn::Sorn& library = sorn::Sorn::manager();
  try {
    library.start("Survivor");
    const int first = std::atoi(words[2]);
    for (int number = first; number < first + std::atoi(words[3]); ++number) {
      library.logEventWith("survival", "still alive", sorn::Dictionary{{"number", number}});
      diary.write(number);
    }
    library.loginUser("user " + std::to_string(first), [](const std::exception_ptr&) {});
  } catch (const sorn::SornError& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
  }
  return 0;
}
