// The program itself: what it prints, how it ends, how it refuses.

#include <array>
#include <chrono>
#include <csignal>
#include <thread>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sys/wait.h>
#include <unistd.h>

#include "emulator/RawClient.h"
#include "emulator/TemporaryFolder.h"
#include "sorn-emulator/Emulator.h"

namespace sorn::emulator::test {
namespace {

// The program as a child process with its standard output at our end of a pipe.
class Program {
 public:
  explicit Program(std::vector<std::string> arguments) {
    std::array<int, 2> ends{};
    if (pipe(ends.data()) != 0) throw std::runtime_error("no pipe to be had");
    arguments.insert(arguments.begin(), SORN_EMULATOR_PROGRAM);
    std::vector<char*> words;
    words.reserve(arguments.size() + 1);
    for (auto& argument : arguments) words.push_back(argument.data());
    words.push_back(nullptr);
    process_ = fork();
    if (process_ == 0) {
      alarm(60);  // ends the child should the test die before it
      dup2(ends[1], STDOUT_FILENO);
      dup2(ends[1], STDERR_FILENO);
      close(ends[0]);
      close(ends[1]);
      execv(words[0], words.data());
      _exit(127);
    }
    close(ends[1]);
    output_ = ends[0];
  }
  ~Program() {
    if (process_ > 0) end(SIGKILL);
    close(output_);
  }
  Program(const Program&) = delete;
  Program& operator=(const Program&) = delete;

  std::string readLine() {
    std::string line;
    for (char c = 0; read(output_, &c, 1) == 1 && c != '\n';) line.push_back(c);
    return line;
  }
  std::string readAll() {
    std::string text;
    for (char c = 0; read(output_, &c, 1) == 1;) text.push_back(c);
    return text;
  }
  // The exit status, or -1 when a signal killed it.
  int wait() {
    int status = 0;
    waitpid(std::exchange(process_, -1), &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }
  int end(int signal) {
    kill(process_, signal);
    return wait();
  }

 private:
  pid_t process_ = -1;
  int output_ = -1;
};

int portIn(const std::string& readyLine) {
  const auto ready = nlohmann::json::parse(readyLine);
  EXPECT_EQ(ready["ready"], true);
  const auto origin = ready["origin"].get<std::string>();
  EXPECT_TRUE(origin.starts_with("http://127.0.0.1:"));
  return std::stoi(origin.substr(origin.rfind(':') + 1));
}

TEST(ProgramTest, SaysWhereItListensAndEndsCleanlyOnBothSignals) {
  for (const int signal : {SIGTERM, SIGINT}) {
    Program program({"--account", "demo:top:secret", "--account", "other:"});
    const int port = portIn(program.readLine());
    // printf '127.0.0.1/user/activate/json{}' | openssl dgst -sha256 -hmac top:secret -binary | base64
    EXPECT_EQ(exchange(port, "POST", "/user/activate/json", "{}",
                       "Authorization: demo=nRUPdXh2LArBXPhA51pQI8JDfn9mIMOtN3qP9SI6mAU=\r\n")
                  .status,
              200);
    // python3: base64.b64encode(hmac.new(b"", b"127.0.0.1/user/activate/json{}", "sha256").digest())
    EXPECT_EQ(exchange(port, "POST", "/user/activate/json", "{}",
                       "Authorization: other=fTT6rlG2lYttMPQEW2I5DVUVh6sXZoLyMzIB42UjUmw=\r\n")
                  .status,
              200);
    exchange(port, "POST", "/emulator/faults", R"([{"path":"*","kind":"hang"}])");
    RawClient hung(port, std::chrono::milliseconds(50));
    hung.send(requestText("GET", "/"));
    EXPECT_EQ(hung.receive().end, RawAnswer::End::silent);
    EXPECT_EQ(program.end(signal), 0);
  }
}

TEST(ProgramTest, PortBelow9999IsPartOfTheSignedText) {
  // Some port of a small range is free; the signature then depends on which, so the text is looked at.
  for (int port = 8190; port < 8290; ++port) {
    Program program({"--account", "demo:topsecret", "--port", std::to_string(port)});
    const auto line = program.readLine();
    if (!line.starts_with("{")) continue;
    ASSERT_EQ(portIn(line), port);
    RawClient client(port);
    const auto host = "127.0.0.1:" + std::to_string(port);
    client.send("POST /ios/save/json HTTP/1.1\r\nHost: " + host + "\r\nContent-Length: 2\r\n\r\n{}");
    EXPECT_EQ(client.receive().status, 401);
    const auto state = nlohmann::json::parse(exchange(port, "GET", "/emulator/state").body);
    EXPECT_EQ(state["requests"][0]["expected"], host + "/ios/save/json{}");
    return;
  }
  FAIL() << "no free port";
}

TEST(ProgramTest, BadUsageIsExplainedWithStatusTwo) {
  const std::vector<std::string> wrong[] = {{},
                                            {"--account"},
                                            {"--account", "nocolon"},
                                            {"--account", ":secret"},
                                            {"--account", "k=y:secret"},
                                            {"--account", "k:s", "--port", "65536"},
                                            {"--account", "k:s", "--port", "12x"},
                                            {"--account", "k:s", "--seed", "/nonexistent"},
                                            {"--account", "k:s", "extra"}};
  for (const auto& arguments : wrong) {
    Program program(arguments);
    EXPECT_NE(program.readAll().find("Usage: sorn-emulator"), std::string::npos);
    EXPECT_EQ(program.wait(), 2);
  }
}

TEST(ProgramTest, WhatCannotBeHadEndsItWithStatusOne) {
  Emulator other({});
  for (const auto& arguments : {std::vector<std::string>{"--port", std::to_string(other.port())},
                                std::vector<std::string>{"--record", "/nonexistent/file"},
                                std::vector<std::string>{"--host", "nowhere"}}) {
    auto all = arguments;
    all.insert(all.end(), {"--account", "k:s"});
    Program program(all);
    EXPECT_TRUE(program.readAll().starts_with("sorn-emulator: "));
    EXPECT_EQ(program.wait(), 1);
  }
}

}  // namespace
}  // namespace sorn::emulator::test
