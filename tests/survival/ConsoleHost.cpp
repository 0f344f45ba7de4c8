#include "survival/ConsoleHost.h"

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <numeric>
#include <stdexcept>
#include <thread>

#include <gtest/gtest.h>

namespace sorn::tests {

Site::Site(bool lightMode)
    : service({.accounts = {{"survivor", "a secret"}}, .lightMode = lightMode}), data(folder / "data") {
  configuration = folder / "Survivor.plist";
  const std::string command = std::string(SORN_CONFIG) +
                              " --key survivor --secret 'a secret' --mode development" + " --environment " +
                              service.origin() + " --out '" + configuration.string() + "'";
  if (std::system(command.c_str()) != 0) throw std::runtime_error("no configuration file");
}

ConsoleHost::ConsoleHost(const Site& site)
    : ChildProcess({SORN_CONSOLE_HOST, site.configuration, "--data", site.data, "--manual-clock"}) {
  // A host that dies in the middle of a command must not take the test along.
  std::signal(SIGPIPE, SIG_IGN);
  expect("start");
}

nlohmann::json ConsoleHost::nextAnswer() {
  while (const auto line = nextLine()) {
    // The library prints lines of its own as well.
    if (line->starts_with("{\"command\"")) return nlohmann::json::parse(*line);
  }
  return {};
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

void ConsoleHost::logEvents(int first, int count) {
  std::string commands;
  for (int number = first; number < first + count; ++number) commands += logCommand(number);
  std::thread writer([&] { send(commands); });
  for (int answer = 0; answer < count; ++answer) EXPECT_TRUE(nextAnswer().at("ok").get<bool>());
  writer.join();
}

int ConsoleHost::terminate() {
  ::kill(process(), SIGTERM);
  return wait();
}

std::size_t ConsoleHost::memory(std::string_view field) const {
  std::ifstream status("/proc/" + std::to_string(process()) + "/status");
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with(field)) return std::strtoull(line.c_str() + field.size(), nullptr, 10);
  }
  return 0;
}

std::string logCommand(int number) {
  return "log survival \"still alive\" {\"number\":" + std::to_string(number) + "}\n";
}

std::vector<int> numbersReceived(const emulator::Emulator& service) {
  std::vector<int> numbers;
  for (const nlohmann::json& event : service.events()) {
    const auto number = event.at("extra").find("N_number");
    if (number != event.at("extra").end()) numbers.push_back(number->get<int>());
  }
  std::ranges::sort(numbers);
  return numbers;
}

std::vector<int> numbersBelow(int end) {
  std::vector<int> numbers(static_cast<std::size_t>(end));
  std::iota(numbers.begin(), numbers.end(), 0);
  return numbers;
}

}  // namespace sorn::tests
