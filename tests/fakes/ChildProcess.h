#pragma once

#include <chrono>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace sorn::tests {

// Another program with its standard input and output as pipes. Killed at the end of the object.
class ChildProcess {
 public:
  explicit ChildProcess(std::vector<std::string> arguments) {
    int input[2];
    int output[2];
    if (::pipe2(input, O_CLOEXEC) != 0 || ::pipe2(output, O_CLOEXEC) != 0) throw std::runtime_error("pipe");
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, input[0], 0);
    posix_spawn_file_actions_adddup2(&actions, output[1], 1);
    std::vector<char*> argv;
    argv.reserve(arguments.size() + 1);
    for (std::string& argument : arguments) argv.push_back(argument.data());
    argv.push_back(nullptr);
    const int result = ::posix_spawn(&process_, argv[0], &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    ::close(input[0]);
    ::close(output[1]);
    input_ = input[1];
    output_ = output[0];
    if (result != 0) throw std::runtime_error("no such program: " + arguments[0]);
  }
  ~ChildProcess() {
    if (process_ > 0) kill();
    ::close(input_);
    ::close(output_);
  }
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  pid_t process() const { return process_; }

  // False once it no longer reads; SIGPIPE has to be ignored then.
  bool send(std::string_view text) {
    while (!text.empty()) {
      const ssize_t written = ::write(input_, text.data(), text.size());
      if (written <= 0) return false;
      text.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
  }
  // The next line without its end; absent at the end of the output, before which a cut line may stand.
  std::optional<std::string> nextLine() {
    std::size_t end = 0;
    while ((end = unread_.find('\n')) == std::string::npos) {
      char buffer[65536];
      const ssize_t length = ::read(output_, buffer, sizeof buffer);
      if (length <= 0) return std::nullopt;
      unread_.append(buffer, static_cast<std::size_t>(length));
    }
    std::string line = unread_.substr(0, end);
    unread_.erase(0, end + 1);
    return line;
  }
  // The same, empty at the end.
  std::string readLine() { return nextLine().value_or(""); }
  // Waits for its end, at most so long, and gives its exit status; less than 0 when a signal ended it or it
  // had to be killed.
  int wait(std::chrono::seconds longest = std::chrono::seconds(30)) {
    const auto end = std::chrono::steady_clock::now() + longest;
    int status = 0;
    while (::waitpid(process_, &status, WNOHANG) == 0) {
      if (std::chrono::steady_clock::now() > end) {
        kill();
        return -SIGKILL;
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    process_ = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
  }
  // Ends the process without a chance to tidy up.
  void kill() {
    ::kill(process_, SIGKILL);
    ::waitpid(process_, nullptr, 0);
    process_ = -1;
  }

 private:
  pid_t process_ = -1;
  int input_ = -1;
  int output_ = -1;
  std::string unread_;
};

}  // namespace sorn::tests
