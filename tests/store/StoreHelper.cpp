// Another process with the store, for tests of what happens when two meet and when one dies.
//   store_helper hold FILE    opens the store and keeps it
//   store_helper write FILE   saves one event after the other and prints the action of each saved one

#include <cstdio>
#include <string>

#include <unistd.h>

#include "fakes/FakeClock.h"
#include "store/ManagedObjectContext.h"
#include "store/entities/SNEvent.h"

int main(int argc, char** argv) {
  using namespace sorn::store;
  if (argc != 3) return 2;
  auto store = PersistentStore::open(argv[2], sorn::platform::Durability::process);
  if (!store) return 1;
  sorn::tests::FakeClock clock;
  sorn::support::SerialQueue queue;
  ManagedObjectContext context(queue, clock, *std::move(store));
  if (std::string(argv[1]) == "hold") {
    std::puts("ready");
    std::fflush(stdout);
    char byte = 0;
    return static_cast<int>(::read(0, &byte, 1));
  }
  for (int number = 1; number < 1'000'000; ++number) {
    const std::string action = std::to_string(number);
    const bool isSaved = queue.performBlockAndWait([&] {
      context.insert<SNEvent>()->set(SNEvent::action, action);
      return context.save();
    });
    if (isSaved) std::printf("%s\n", action.c_str());
    std::fflush(stdout);
  }
  return 0;
}
