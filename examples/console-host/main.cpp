// A host in a terminal: reads one command a line from standard input, drives the library with it, and answers
// with one line of JSON.

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <string>
#include <thread>

#include <fcntl.h>
#include <unistd.h>

#include "Commands.h"

namespace {

// A closed standard descriptor would be given to the next file that is opened, and answers be written into
// it.
void openMissingDescriptors() {
  for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (fcntl(descriptor, F_GETFD) < 0 && open("/dev/null", O_RDWR) != descriptor) std::_Exit(1);
  }
}

// Blocked in every thread that comes later, so that SIGTERM interrupts none in the middle of its work.
sigset_t blockTermination() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  return signals;
}

// The request to end is heard by a thread of its own, also while a command runs.
void awaitTermination(const sigset_t& signals, sorn::console::Commands& commands) {
  std::thread([signals, &commands] {
    int received = 0;
    while (sigwait(&signals, &received) != 0) {
    }
    commands.terminate();
  }).detach();
}

// Runs the complete lines at the front of the input and keeps the rest.
void runLines(std::string& input, sorn::console::Commands& commands) {
  std::size_t begin = 0;
  for (std::size_t end = input.find('\n'); end != std::string::npos; end = input.find('\n', begin)) {
    commands.run(std::string_view(input).substr(begin, end - begin));
    begin = end + 1;
  }
  input.erase(0, begin);
}

}  // namespace

int main(int argumentCount, char** argumentValues) {
  openMissingDescriptors();
  const auto arguments = sorn::console::parseArguments(argumentCount, argumentValues);
  if (!arguments) return 2;
  const sigset_t signals = blockTermination();
  sorn::console::Commands commands(*arguments);
  awaitTermination(signals, commands);
  std::string input;
  while (true) {
    char buffer[65536];
    const ssize_t length = read(STDIN_FILENO, buffer, sizeof buffer);
    if (length < 0 && errno == EINTR) continue;
    if (length <= 0) break;
    input.append(buffer, static_cast<std::size_t>(length));
    runLines(input, commands);
  }
  if (!input.empty()) commands.run(input);
  commands.leave();
}
