// A host in a terminal: reads one command a line from standard input, drives the library with it, and answers
// with one line of JSON.

#include <csignal>
#include <string>

#include <poll.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include "Commands.h"

namespace {

// SIGTERM arrives here instead of interrupting some thread in the middle of its work.
int openTerminationSignal() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  return signalfd(-1, &signals, SFD_CLOEXEC);
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
  const auto arguments = sorn::console::parseArguments(argumentCount, argumentValues);
  if (!arguments) return 2;
  const int terminationSignal = openTerminationSignal();
  sorn::console::Commands commands(*arguments);
  std::string input;
  while (true) {
    pollfd sources[] = {{STDIN_FILENO, POLLIN, 0}, {terminationSignal, POLLIN, 0}};
    if (poll(sources, 2, -1) < 0) continue;
    if (sources[1].revents != 0) commands.terminate();
    char buffer[65536];
    const ssize_t length = read(STDIN_FILENO, buffer, sizeof buffer);
    if (length <= 0) break;
    input.append(buffer, static_cast<std::size_t>(length));
    runLines(input, commands);
  }
  if (!input.empty()) commands.run(input);
  // The end of input is a `quit`: no farewell, as after a crash.
  std::_Exit(0);
}
