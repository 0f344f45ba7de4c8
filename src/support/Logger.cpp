#include "support/Logger.h"

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <mutex>
#include <thread>

#include "sorn/SornError.h"

namespace sorn::support {

namespace {

std::string_view markOf(LogLevel level) {
  switch (level) {
    case LogLevel::error:
      return "\u26D4\uFE0F";
    case LogLevel::warning:
      return "\u26A0\uFE0F";
    case LogLevel::success:
      return "\u2705";
    case LogLevel::info:
      return "\U0001F4EC";
    case LogLevel::timer:
      return "\U0010042B";
    case LogLevel::appEvent:
      return "\U0001F4F1";
    case LogLevel::none:
    case LogLevel::custom:
      break;
  }
  return "";
}

platform::SystemLogType typeOf(LogLevel level) {
  switch (level) {
    case LogLevel::error:
    case LogLevel::warning:
      return platform::SystemLogType::error;
    case LogLevel::info:
      return platform::SystemLogType::info;
    default:
      return platform::SystemLogType::standard;
  }
}

// What the caller of a forced line spends on it at most.
constexpr std::chrono::milliseconds longestForcedWait{20};

std::string_view lastPathComponent(std::string_view path) {
  const std::size_t slash = path.find_last_of('/');
  return slash == std::string_view::npos ? path : path.substr(slash + 1);
}

}  // namespace

// The queue of lines and the thread that writes them. The thread begins with the first line, so a silent
// process has none.
class Logger::Writer {
 public:
  explicit Writer(platform::SystemLog* systemLog) : systemLog_(systemLog) {}

  ~Writer() {
    {
      const std::lock_guard lock(mutex_);
      ending_ = true;
    }
    changed_.notify_all();
    if (thread_.joinable()) thread_.join();
  }

  void append(platform::SystemLogType type, std::string line, bool toStandardOutput, Forced forced) {
    std::unique_lock lock(mutex_);
    lines_.push_back({type, std::move(line), toStandardOutput});
    const std::uint64_t number = ++appended_;
    if (!thread_.joinable()) thread_ = std::thread([this] { run(); });
    changed_.notify_all();
    if (forced == Forced::no || hangs_) return;
    // Behind a log that does not move on, the next caller waits no more.
    hangs_ = !changed_.wait_for(lock, longestForcedWait, [&] { return written_ >= number; });
  }

  void flush() {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return written_ == appended_; });
  }

 private:
  struct Line {
    platform::SystemLogType type;
    std::string text;
    bool toStandardOutput;
  };

  void writeOut(Line& line) const {
    if (line.toStandardOutput) {
      // In one piece, so that what the host prints meanwhile stands before it or after it.
      line.text += '\n';
      std::fwrite(line.text.data(), 1, line.text.size(), stdout);
      std::fflush(stdout);
    } else if (systemLog_) {
      systemLog_->write(line.type, line.text);
    }
  }

  void run() {
    std::unique_lock lock(mutex_);
    while (true) {
      changed_.wait(lock, [this] { return ending_ || !lines_.empty(); });
      if (lines_.empty()) return;
      Line line = std::move(lines_.front());
      lines_.pop_front();
      // A log that hangs must hang this thread alone.
      lock.unlock();
      writeOut(line);
      lock.lock();
      ++written_;
      hangs_ = false;
      changed_.notify_all();
    }
  }

  platform::SystemLog* systemLog_;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<Line> lines_;
  std::uint64_t appended_ = 0;
  std::uint64_t written_ = 0;
  bool hangs_ = false;
  bool ending_ = false;
  std::thread thread_;
};

Logger::Logger(std::shared_ptr<platform::SystemLog> systemLog)
    : systemLog_(std::move(systemLog)), writer_(std::make_unique<Writer>(systemLog_.get())) {}

Logger::~Logger() = default;

Logger::Switches Logger::readSwitches() {
  return {std::getenv("SNSORN_FORCE_LOGGING") != nullptr,
          std::getenv("SNSORN_FORCE_PRINT_STATEMENTS") != nullptr};
}

void Logger::log(const SornError& error, Forced forced, std::source_location location) {
  logDescription(error.localizedDescription(), forced, location);
}

void Logger::logDescription(std::string_view description, Forced forced, std::source_location location) {
  const Switches switches = readSwitches();
  if (!switches.logging && forced == Forced::no) return;
  write(LogLevel::error, description, location, switches, forced);
}

void Logger::flush() { writer_->flush(); }

void Logger::write(LogLevel level, std::string_view message, std::source_location location, Switches switches,
                   Forced forced) {
  std::string line;
  line.reserve(message.size() + 64);
  line.append("[").append(lastPathComponent(location.file_name())).append(":");
  line.append(std::to_string(location.line())).append("] ");
  line.append(markOf(level)).append(" ").append(message);
  writer_->append(typeOf(level), std::move(line), switches.printStatements, forced);
}

}  // namespace sorn::support
