// The console host as a program: what it refuses, and that its answers stay whole.

#include <gtest/gtest.h>

#include "survival/ConsoleHost.h"

namespace sorn::tests {
namespace {

TEST(ConsoleHostProgram, LinesThatCannotBeRunAreAnsweredWithTheReason) {
  Site site;
  ConsoleHost host(site);
  struct Case {
    std::string line;
    std::string command;
    std::string error;
  };
  const std::string tooLong = "at most a year at a time, 31536000 seconds";
  const std::string noDate = "the clock goes from 1970 to 2100, 0 to 4102444800 seconds";
  const Case cases[] = {{"log caf\xff x", "log", "the line is not UTF-8"},
                        {"\xff\u00e9\xe2\x82 x", "\uFFFD\u00e9\uFFFD\uFFFD", "the line is not UTF-8"},
                        {R"(log "a\u0000b" x)", "log", std::string("[SORN] Category 'a\0b' is invalid", 32)},
                        {"log \"a", "log", "a quoted argument has no end"},
                        {"wait 31536001", "wait", tooLong},
                        {"advance 1e300", "advance", tooLong},
                        {"advance nan", "advance", "a number of seconds is wanted"},
                        {"advance -1", "advance", "time does not run backwards here"},
                        {"clock 1e300", "clock", noDate},
                        {"clock -1e300", "clock", noDate},
                        {"clock 4102444801", "clock", noDate},
                        {"clock inf", "clock", "a number of seconds is wanted"}};
  for (const Case& wrong : cases) {
    EXPECT_EQ(host.run(wrong.line),
              (nlohmann::json{{"command", wrong.command}, {"ok", false}, {"error", wrong.error}}));
  }
}

TEST(ConsoleHostProgram, EndsWithTheStatusThatItsArgumentsDeserve) {
  const tests::TemporaryFolder folder;
  const std::pair<const char*, int> cases[] = {
      {"''", 2}, {"A.plist --data ''", 2}, {"A.plist --data", 2}, {"A.plist --data data <&- >&- 2>&-", 0}};
  for (const auto& [arguments, status] : cases) {
    ChildProcess host({"/bin/sh", "-c", "cd \"$0\" && exec \"$1\" " + std::string(arguments), folder.path(),
                       SORN_CONSOLE_HOST});
    EXPECT_EQ(host.wait(), status) << arguments;
  }
}

}  // namespace
}  // namespace sorn::tests
