#include "survival/ConsoleHost.h"

#include <csignal>
#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <vector>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace sorn::tests {

namespace {

pid_t spawn(std::vector<std::string> arguments, int input, int output) {
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, input, STDIN_FILENO);
  posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
  std::vector<char*> values;
  values.reserve(arguments.size() + 1);
  for (std::string& argument : arguments) values.push_back(argument.data());
  values.push_back(nullptr);
  pid_t process = -1;
  const int result = ::posix_spawn(&process, values[0], &actions, nullptr, values.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  if (result != 0) throw std::runtime_error("cannot run " + arguments[0]);
  return process;
}

emulator::Options optionsFor(bool lightMode) {
  emulator::Options options;
  options.accounts = {{"survivor", "a secret"}};
  options.lightMode = lightMode;
  return options;
}

}  // namespace

ConsoleHost::ConsoleHost(const std::filesystem::path& configuration, const std::filesystem::path& data) {
  // A host that dies in the middle of a command must not take the test along.
  std::signal(SIGPIPE, SIG_IGN);
  int input[2];
  int output[2];
  if (::pipe2(input, O_CLOEXEC) != 0 || ::pipe2(output, O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
  process_ = spawn({SORN_CONSOLE_HOST, configuration, "--data", data, "--manual-clock"}, input[0], output[1]);
  ::close(input[0]);
  ::close(output[1]);
  input_ = input[1];
  output_ = output[0];
}

ConsoleHost::~ConsoleHost() {
  if (process_ > 0) kill();
  ::close(input_);
  ::close(output_);
}

bool ConsoleHost::send(std::string_view commands) {
  while (!commands.empty()) {
    const ssize_t written = ::write(input_, commands.data(), commands.size());
    if (written <= 0) return false;
    commands.remove_prefix(static_cast<std::size_t>(written));
  }
  return true;
}

nlohmann::json ConsoleHost::nextAnswer() {
  while (true) {
    const std::size_t end = unread_.find('\n');
    if (end != std::string::npos) {
      const std::string line = unread_.substr(0, end);
      unread_.erase(0, end + 1);
      // The library prints lines of its own as well.
      if (line.starts_with("{\"command\"")) return nlohmann::json::parse(line);
      continue;
    }
    char buffer[65536];
    const ssize_t length = ::read(output_, buffer, sizeof buffer);
    if (length <= 0) return {};
    unread_.append(buffer, static_cast<std::size_t>(length));
  }
}

nlohmann::json ConsoleHost::run(std::string_view command) {
  send(std::string(command) + "\n");
  nlohmann::json answer = nextAnswer();
  if (answer.is_null()) throw std::runtime_error("the host is gone after: " + std::string(command));
  return answer;
}

nlohmann::json ConsoleHost::expect(std::string_view command) {
  nlohmann::json answer = run(command);
  if (!answer.at("ok").get<bool>()) throw std::runtime_error(std::string(command) + ": " + answer.dump());
  return answer;
}

int ConsoleHost::wait() {
  int status = 0;
  ::waitpid(process_, &status, 0);
  process_ = -1;
  return status;
}

void ConsoleHost::kill() {
  ::kill(process_, SIGKILL);
  wait();
}

int ConsoleHost::terminate() {
  ::kill(process_, SIGTERM);
  const int status = wait();
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

std::size_t ConsoleHost::memory(std::string_view field) const {
  std::ifstream status("/proc/" + std::to_string(process_) + "/status");
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with(field)) return std::strtoull(line.c_str() + field.size(), nullptr, 10);
  }
  return 0;
}

Site::Site(bool lightMode) : service(optionsFor(lightMode)), data(folder / "data") {
  configuration = folder / "Survivor.plist";
  const std::string command = std::string(SORN_CONFIG) +
                              " --key survivor --secret 'a secret' --mode development" + " --environment " +
                              service.origin() + " --out '" + configuration.string() + "'";
  if (std::system(command.c_str()) != 0) throw std::runtime_error("no configuration file");
}

std::vector<int> numbersReceived(const emulator::Emulator& service) {
  std::vector<int> numbers;
  for (const nlohmann::json& event : service.events()) {
    const auto number = event.at("extra").find("N_number");
    if (number != event.at("extra").end()) numbers.push_back(number->get<int>());
  }
  return numbers;
}

}  // namespace sorn::tests
