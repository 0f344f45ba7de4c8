// The program itself: what it prints, how it ends, how it refuses.

#include <chrono>
#include <csignal>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "emulator/RawClient.h"
#include "fakes/ChildProcess.h"
#include "sorn-emulator/Emulator.h"

namespace sorn::emulator::test {
namespace {

// The program with both of its outputs at our end of a pipe. Ends with the test, however that ends.
class Program {
 public:
  explicit Program(const std::vector<std::string>& arguments)
      : child_(command(arguments)), process_(std::stoi(child_.readLine())) {}

  std::string readLine() { return child_.readLine(); }
  int wait() { return child_.wait(); }
  int end(int signal) {
    kill(process_, signal);
    return wait();
  }

 private:
  // The shell tells the number of the process that the program takes over from it.
  static std::vector<std::string> command(const std::vector<std::string>& arguments) {
    std::vector<std::string> words = {
        "/bin/sh", "-c", "echo $$; exec setpriv --pdeathsig KILL \"$0\" \"$@\" 2>&1", SORN_EMULATOR_PROGRAM};
    words.insert(words.end(), arguments.begin(), arguments.end());
    return words;
  }

  tests::ChildProcess child_;
  pid_t process_;
};

TEST(ProgramTest, SaysWhereItListensAndEndsCleanlyOnBothSignals) {
  for (const int signal : {SIGTERM, SIGINT}) {
    Emulator before({});
    const int port = before.port();
    before.stop();
    Program program({"--account", "demo:top:secret", "--account", "other:", "--port", std::to_string(port)});
    const auto ready = nlohmann::json::parse(program.readLine());
    EXPECT_EQ(ready["ready"], true);
    EXPECT_EQ(ready["origin"], "http://127.0.0.1:" + std::to_string(port));
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
    EXPECT_EQ(program.wait(), 2);
    std::string line = program.readLine();
    for (int rest = 5; rest > 0 && !line.starts_with("Usage: "); --rest) line = program.readLine();
    EXPECT_TRUE(line.starts_with("Usage: sorn-emulator")) << line;
  }
}

TEST(ProgramTest, WhatCannotBeHadEndsItWithStatusOne) {
  Emulator other({});
  for (const auto& arguments : {std::vector<std::string>{"--port", std::to_string(other.port())},
                                std::vector<std::string>{"--record", "/nonexistent/file"},
                                std::vector<std::string>{"--host", "localhost"}}) {
    auto all = arguments;
    all.insert(all.end(), {"--account", "k:s"});
    Program program(all);
    EXPECT_EQ(program.wait(), 1);
    EXPECT_TRUE(program.readLine().starts_with("sorn-emulator: "));
  }
}

}  // namespace
}  // namespace sorn::emulator::test
