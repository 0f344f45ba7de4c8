#include "Commands.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <thread>

#include "EventCommands.h"
#include "host/HeadlessPlatform.h"
#include "host/HostBundle.h"
#include "sorn/SornCustomEvents.h"
#include "sorn/SornError.h"
#include "support/json/Json.h"
#include "support/json/JsonWriter.h"

namespace sorn::console {

namespace {

// A jump of the wall clock by more than three years is meant as a date: seconds since 1970.
constexpr double smallestDate = 100'000'000;
constexpr double latestDate = 4'102'444'800;  // 2100-01-01, before any type for times overflows
constexpr double year = 31'536'000;

// How long a command may go on when the process is to end.
constexpr std::chrono::milliseconds lastMoment(200);

const std::string& argument(const CommandLine& line, std::size_t position) {
  if (position >= line.arguments.size()) throw std::invalid_argument("an argument is missing");
  return line.arguments[position];
}

void expectAtMost(const CommandLine& line, std::size_t count) {
  if (line.arguments.size() > count) throw std::invalid_argument("there are too many arguments");
}

double seconds(const CommandLine& line) {
  expectAtMost(line, 1);
  const std::string& text = argument(line, 0);
  double value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size() || !std::isfinite(value)) {
    throw std::invalid_argument("a number of seconds is wanted");
  }
  return value;
}

double positiveSeconds(const CommandLine& line) {
  const double value = seconds(line);
  if (value < 0) throw std::invalid_argument("time does not run backwards here");
  if (value > year) throw std::invalid_argument("at most a year at a time, 31536000 seconds");
  return value;
}

std::optional<Dictionary> data(const CommandLine& line, std::size_t position) {
  expectAtMost(line, position + 1);
  if (position >= line.arguments.size()) return std::nullopt;
  return parseDictionary(line.arguments[position]);
}

Sorn& makeLibrary(const Arguments& arguments, const std::shared_ptr<host::ManualClock>& clock) {
  auto bundle = std::make_shared<host::HostBundle>();
  bundle->setIdentifier("console-host");
  bundle->setVersion("1.0");
  bundle->setBuild("1");
  if (arguments.libraryVersion) bundle->setLibraryVersion(arguments.libraryVersion);
  bundle->addResourceDirectory(arguments.configuration.parent_path());
  platform::Platform platform;
  platform.bundle = std::move(bundle);
  platform.clock = clock;
  if (arguments.storage) platform.deployment.storageOrigin = *arguments.storage;
  host::fillHeadless(
      platform, arguments.data ? host::XdgHomes::below(*arguments.data) : host::XdgHomes::fromEnvironment());
  platform::install(std::move(platform));
  return Sorn::manager();
}

std::string nameOf(facade::SornMode mode) {
  switch (mode) {
    case facade::SornMode::development:
      return "development";
    case facade::SornMode::production:
      return "production";
    case facade::SornMode::undefined:
      break;
  }
  return "undefined";
}

// The text with U+FFFD for each byte that belongs to no character.
std::string withoutWrongBytes(std::string_view text) {
  std::string result;
  while (!text.empty()) {
    std::size_t length = 1;
    while (length < 4 && length < text.size() && !support::isValidUtf8(text.substr(0, length))) ++length;
    const bool isCharacter = support::isValidUtf8(text.substr(0, length));
    result += isCharacter ? text.substr(0, length) : "\uFFFD";
    text.remove_prefix(isCharacter ? length : 1);
  }
  return result;
}

}  // namespace

void writeLine(const Dictionary& line) {
  static std::mutex& mutex = *new std::mutex;
  const std::string text =
      support::compactText(line).value_or(R"({"ok":false,"error":"the answer cannot be written as JSON"})");
  const std::lock_guard lock(mutex);
  std::printf("%s\n", text.c_str());
  std::fflush(stdout);
}

Commands::Commands(const Arguments& arguments)
    : configuration_(arguments.configuration.filename().string()),
      clock_(arguments.manualClock ? std::make_shared<host::ManualClock>(host::SystemClock().now())
                                   : nullptr),
      sorn_(makeLibrary(arguments, clock_)),
      diagnostics_(sorn_) {
  addCommands();
  if (clock_) addClockCommands();
  diagnostics_.onPresented([](const std::string& campaignID) {
    writeLine({{"notice", "presented"}, {"campaign", campaignID}});
  });
}

void Commands::addCommands() {
  handlers_["start"] = [this](const CommandLine& line) {
    expectAtMost(line, 0);
    sorn_.start(configuration_);
    return Dictionary();
  };
  handlers_["state"] = [this](const CommandLine& line) {
    expectAtMost(line, 0);
    return state();
  };
  handlers_["log"] = [this](const CommandLine& line) {
    sorn_.logEventWith(argument(line, 0), argument(line, 1), data(line, 2));
    return Dictionary();
  };
  handlers_["screen"] = [this](const CommandLine& line) {
    sorn_.logScreenWithName(argument(line, 0), data(line, 1));
    return Dictionary();
  };
  addEventCommands();
  addUserCommands();
  addLifecycleCommands();
  handlers_["wait"] = [](const CommandLine& line) {
    std::this_thread::sleep_for(std::chrono::duration<double>(positiveSeconds(line)));
    return Dictionary();
  };
  handlers_["quit"] = [](const CommandLine&) -> Dictionary {
    writeLine({{"command", "quit"}, {"ok", true}});
    std::_Exit(0);
  };
}

void Commands::addEventCommands() {
  const auto add = [this](const char* command, void (*log)(const std::string&, const Dictionary&)) {
    handlers_[command] = [log](const CommandLine& line) {
      expectAtMost(line, 2);
      log(argument(line, 0), parseDictionary(argument(line, 1)));
      return Dictionary();
    };
  };
  add("retail", logRetail);
  add("content", logContent);
  handlers_["search"] = [](const CommandLine& line) {
    SornGenericEvent::search(argument(line, 0), data(line, 1));
    return Dictionary();
  };
}

void Commands::addUserCommands() {
  handlers_["login"] = [this](const CommandLine& line) {
    expectAtMost(line, 1);
    sorn_.loginUser(argument(line, 0)).get();
    return Dictionary();
  };
  handlers_["logout"] = [this](const CommandLine& line) {
    expectAtMost(line, 0);
    sorn_.logoutUser();
    return Dictionary();
  };
  handlers_["trigger"] = [this](const CommandLine& line) {
    expectAtMost(line, 1);
    std::map<std::string, std::string> userInfo;
    for (const auto& [key, value] : parseDictionary(argument(line, 0))) {
      const std::string* text = value.as<std::string>();
      if (!text) throw std::invalid_argument("an object of texts is wanted");
      userInfo.emplace(key, *text);
    }
    sorn_.triggerInApp(userInfo);
    return Dictionary();
  };
  handlers_["tags"] = [this](const CommandLine& line) {
    expectAtMost(line, 1);
    std::vector<std::string> tags;
    for (const Value& tag : parseList(argument(line, 0))) {
      const std::string* text = tag.as<std::string>();
      if (!text) throw std::invalid_argument("a list of texts is wanted");
      tags.push_back(*text);
    }
    sorn_.registerPreferences(tags);
    return Dictionary();
  };
}

void Commands::addLifecycleCommands() {
  const auto add = [this](std::string_view command, void (Sorn::*hook)()) {
    handlers_[std::string(command)] = [this, hook](const CommandLine& line) {
      expectAtMost(line, 0);
      (sorn_.*hook)();
      return Dictionary();
    };
  };
  add("launched", &Sorn::applicationDidFinishLaunching);
  add("active", &Sorn::applicationDidBecomeActive);
  add("resign", &Sorn::applicationWillResignActive);
  add("background", &Sorn::applicationDidEnterBackground);
  add("foreground", &Sorn::applicationWillEnterForeground);
  add("terminate", &Sorn::applicationWillTerminate);
}

void Commands::addClockCommands() {
  handlers_["advance"] = [this](const CommandLine& line) {
    advance(positiveSeconds(line));
    return Dictionary();
  };
  handlers_["clock"] = [this](const CommandLine& line) {
    setClock(seconds(line));
    return Dictionary();
  };
}

// Moves from timer to timer, so that each ticks at its own moment, as it would if time passed by itself.
void Commands::advance(double seconds) {
  double left = seconds;
  diagnostics_.waitUntilIdle();
  while (left > 0) {
    const double step = std::clamp(diagnostics_.secondsToNextTimer().value_or(left), 0.0, left);
    clock_->advance(platform::Monotonic(step));
    left -= step;
    diagnostics_.waitUntilIdle();
  }
}

void Commands::setClock(double seconds) {
  const double now = secondsSince1970(clock_->now());
  const double wanted = seconds >= smallestDate ? seconds : now + seconds;
  if (wanted < 0 || wanted > latestDate) {
    throw std::invalid_argument("the clock goes from 1970 to 2100, 0 to 4102444800 seconds");
  }
  clock_->jumpTo(dateSince1970(wanted));
}

Dictionary Commands::state() {
  Dictionary records;
  for (const auto& [entity, counts] : diagnostics_.recordCounts()) {
    Dictionary byStatus{{"false", counts.isFalse}, {"pending", counts.pending}, {"true", counts.isTrue}};
    if (counts.without > 0) byStatus.emplace("none", counts.without);
    records.emplace(entity, std::move(byStatus));
  }
  return {{"didStart", diagnostics_.didStart()},
          {"mode", nameOf(diagnostics_.mode())},
          {"records", std::move(records)}};
}

Dictionary Commands::answerTo(std::string_view text) {
  Dictionary answer;
  const auto refuse = [&](std::string reason) {
    // A line that could not even be split has no command of its own to name.
    answer.emplace("command", withoutWrongBytes(text.substr(0, text.find(' '))));
    answer.emplace("ok", false);
    answer.emplace("error", std::move(reason));
  };
  try {
    if (!support::isValidUtf8(text)) throw std::invalid_argument("the line is not UTF-8");
    const CommandLine line = parseCommandLine(text);
    if (line.command.empty()) return answer;
    answer.emplace("command", line.command);
    const auto handler = handlers_.find(line.command);
    if (handler == handlers_.end()) throw std::invalid_argument("unknown command");
    Dictionary told = handler->second(line);
    answer.merge(told);
    answer.emplace("ok", true);
  } catch (const SornError& error) {
    refuse(error.localizedDescription());  // may hold NULs, at which `what` would end
  } catch (const std::exception& error) {
    refuse(error.what());
  }
  return answer;
}

void Commands::run(std::string_view line) {
  beginTurn();
  const Dictionary answer = answerTo(line);
  if (!answer.empty()) writeLine(answer);
  endTurn();
}

void Commands::beginTurn() {
  std::unique_lock lock(turnMutex_);
  turnEnded_.wait(lock, [this] { return !isEnding_; });
  isBusy_ = true;
}

void Commands::endTurn() {
  {
    const std::lock_guard lock(turnMutex_);
    isBusy_ = false;
  }
  turnEnded_.notify_all();
}

// Nothing is flushed here: every line was when it was written, and its reader may have stopped to read.
void Commands::terminate() {
  {
    std::unique_lock lock(turnMutex_);
    isEnding_ = true;
    turnEnded_.wait_for(lock, lastMoment, [this] { return !isBusy_; });
  }
  sorn_.applicationWillTerminate();
  std::_Exit(0);
}

void Commands::leave() {
  beginTurn();
  std::_Exit(0);
}

}  // namespace sorn::console
