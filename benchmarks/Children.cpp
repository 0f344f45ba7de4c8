#include "Children.h"

#include <array>
#include <csignal>
#include <filesystem>
#include <stdexcept>
#include <utility>

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "Host.h"

namespace sorn::bench {

Child::Child(std::string_view program, std::vector<std::string> arguments)
    : name_(std::filesystem::read_symlink("/proc/self/exe").parent_path() / program) {
  std::array<int, 2> ends{};
  if (pipe2(ends.data(), O_CLOEXEC) != 0) throw std::runtime_error("no pipe to be had");
  std::vector<char*> words{name_.data()};
  for (std::string& argument : arguments) words.push_back(argument.data());
  words.push_back(nullptr);
  process_ = fork();
  if (process_ == 0) {
    // Not to stay behind when this process is ended from outside.
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    dup2(ends[1], STDOUT_FILENO);
    execv(words[0], words.data());
    _exit(127);
  }
  close(ends[1]);
  output_ = ends[0];
  if (process_ < 0) throw std::runtime_error("cannot run " + name_);
}

Child::~Child() {
  close(output_);
  if (process_ <= 0) return;
  kill(process_, SIGTERM);
  waitpid(process_, nullptr, 0);
}

std::string Child::readLine() {
  std::string line;
  for (char c = 0; read(output_, &c, 1) == 1 && c != '\n';) line.push_back(c);
  return line;
}

void Child::wait() {
  int status = 0;
  waitpid(std::exchange(process_, -1), &status, 0);
  if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) throw std::runtime_error(name_ + " failed");
}

Service::Service()
    : child_("sorn-emulator",
             {"--light", "--account", std::string(accountKey) + ":" + std::string(accountSecret)}) {
  const std::string ready = child_.readLine();
  const std::size_t begin = ready.find("http://");
  if (begin == std::string::npos) throw std::runtime_error("the service does not start");
  origin_ = ready.substr(begin, ready.find('"', begin) - begin);
}

}  // namespace sorn::bench
