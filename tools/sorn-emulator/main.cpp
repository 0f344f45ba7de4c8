// The program `sorn-emulator`: says where it listens, serves until it is told to end.

#include <csignal>
#include <exception>
#include <iostream>
#include <stdexcept>

#include <nlohmann/json.hpp>

#include "sorn-emulator/Arguments.h"

namespace {

using sorn::emulator::Arguments;
using sorn::emulator::Emulator;

// Blocked in every thread, so that the one that waits for them below gets them.
sigset_t blockEndSignals() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGTERM);
  sigaddset(&signals, SIGINT);
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  // A reader of our output that has left is no reason to die before being told to.
  std::signal(SIGPIPE, SIG_IGN);
  return signals;
}

int serve(const Arguments& arguments) {
  const auto signals = blockEndSignals();
  Emulator emulator(arguments.options);
  std::cout << R"({"ready":true,"origin":)" << nlohmann::json(emulator.origin()).dump() << '}' << std::endl;
  int received = 0;
  while (sigwait(&signals, &received) != 0) {
  }
  emulator.stop();
  return 0;
}

}  // namespace

int main(int count, char** words) {
  try {
    const auto arguments = sorn::emulator::parseArguments({words + 1, words + count});
    if (arguments.wantsHelp) {
      std::cout << sorn::emulator::usage();
      return 0;
    }
    return serve(arguments);
  } catch (const std::invalid_argument& error) {
    std::cerr << "sorn-emulator: " << error.what() << "\n\n" << sorn::emulator::usage();
    return 2;
  } catch (const std::exception& error) {
    std::cerr << "sorn-emulator: " << error.what() << '\n';
    return 1;
  }
}
