#include <atomic>
#include <chrono>
#include <cstdlib>
#include <future>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "sorn/SornError.h"
#include "support/Logger.h"

namespace sorn::support {
namespace {

using platform::SystemLogType;

// Keeps the lines; written by the logger's thread, read after a flush.
class Lines : public platform::SystemLog {
 public:
  void write(SystemLogType type, std::string_view line) override { lines.emplace_back(type, line); }
  std::vector<std::pair<SystemLogType, std::string>> lines;
};

class LoggerTest : public testing::Test {
 protected:
  LoggerTest() {
    unsetenv("SNSORN_FORCE_LOGGING");
    unsetenv("SNSORN_FORCE_PRINT_STATEMENTS");
  }
  static std::string place(std::uint_least32_t line) {
    return "[LoggerTest.cpp:" + std::to_string(line) + "] ";
  }

  std::shared_ptr<Lines> systemLog_ = std::make_shared<Lines>();
  Logger logger_{systemLog_};
};

TEST_F(LoggerTest, SilentLinesAreNotEvenFormatted) {
  setenv("SNSORN_FORCE_PRINT_STATEMENTS", "1", 1);
  testing::internal::CaptureStdout();
  logger_.log(LogLevel::error, [] {
    ADD_FAILURE() << "formatted";
    return std::string();
  });
  logger_.log(SornError::plain(SornError::Code::invalidAppKey), Forced::no);
  logger_.flush();
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  EXPECT_TRUE(systemLog_->lines.empty());
}

TEST_F(LoggerTest, ForcedLinesNeedNoSwitchAndTheSecondSwitchSendsLinesToStandardOutput) {
  logger_.log(SornError::emptyExtraKey(""), Forced::yes);
  const auto line = std::source_location::current().line() - 1;
  logger_.flush();
  setenv("SNSORN_FORCE_PRINT_STATEMENTS", "", 1);  // its presence counts, not its value
  testing::internal::CaptureStdout();
  logger_.logDescription("forced", Forced::yes);
  logger_.flush();
  EXPECT_EQ(testing::internal::GetCapturedStdout(), place(line + 5) + "\u26D4\uFE0F forced\n");
  ASSERT_EQ(systemLog_->lines.size(), 1u);
  EXPECT_EQ(systemLog_->lines[0].first, SystemLogType::error);
  EXPECT_EQ(systemLog_->lines[0].second, place(line) + "\u26D4\uFE0F [SORN] Key '' is empty");
}

TEST_F(LoggerTest, LevelsHaveTheirMarkAndTypeAndLinesTheirOrderToTheEnd) {
  setenv("SNSORN_FORCE_LOGGING", "", 1);
  const std::tuple<LogLevel, SystemLogType, std::string> cases[] = {
      {LogLevel::error, SystemLogType::error, "\u26D4\uFE0F"},
      {LogLevel::warning, SystemLogType::error, "\u26A0\uFE0F"},
      {LogLevel::success, SystemLogType::standard, "\u2705"},
      {LogLevel::info, SystemLogType::info, "\U0001F4EC"},
      {LogLevel::timer, SystemLogType::standard, "\U0010042B"},
      {LogLevel::appEvent, SystemLogType::standard, "\U0001F4F1"},
  };
  {
    Logger ending(systemLog_);
    for (int number = 0; number < 600; ++number)
      ending.log(std::get<0>(cases[number % 6]), [&] { return std::to_string(number); });
  }
  ASSERT_EQ(systemLog_->lines.size(), 600u);
  for (std::size_t number = 0; number < 600; ++number) {
    const auto& [type, line] = systemLog_->lines[number];
    EXPECT_EQ(type, std::get<1>(cases[number % 6]));
    EXPECT_TRUE(line.ends_with("] " + std::get<2>(cases[number % 6]) + " " + std::to_string(number))) << line;
  }
}

// Writes its first line only when it is told to.
class HangingLog : public platform::SystemLog {
 public:
  void write(SystemLogType, std::string_view) override {
    ++written;
    mayGoOn.wait();
  }
  std::atomic<int> written = 0;
  std::promise<void> goOn;
  std::shared_future<void> mayGoOn = goOn.get_future().share();
};

TEST_F(LoggerTest, ForcedLinesAreThereForAHostThatEndsRightAfterThem) {
  const auto log = std::make_shared<HangingLog>();
  log->goOn.set_value();
  Logger logger(log);
  int inTime = 0;
  for (int number = 1; number <= 50; ++number) {
    logger.logDescription("forced", Forced::yes);
    inTime += log->written == number ? 1 : 0;
    logger.flush();
  }
  // On a busy machine some take longer than anybody waits.
  EXPECT_GE(inTime, 45);
}

TEST_F(LoggerTest, ForcedLinesDoNotHangWithTheLog) {
  const auto log = std::make_shared<HangingLog>();
  Logger logger(log);
  const auto start = std::chrono::steady_clock::now();
  for (int number = 0; number < 1000; ++number) logger.logDescription("forced", Forced::yes);
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
  log->goOn.set_value();
  logger.flush();
  EXPECT_EQ(log->written, 1000);
}

}  // namespace
}  // namespace sorn::support
