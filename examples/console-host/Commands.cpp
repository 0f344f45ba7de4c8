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

#include "linux/HeadlessPlatform.h"
#include "linux/HostBundle.h"
#include "support/JsonWriter.h"

namespace sorn::console {

namespace {

// A jump of the wall clock by more than three years is meant as a date: seconds since 1970.
constexpr double smallestDate = 100'000'000;

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
  return value;
}

std::optional<Dictionary> data(const CommandLine& line, std::size_t position) {
  expectAtMost(line, position + 1);
  if (position >= line.arguments.size()) return std::nullopt;
  return parseDictionary(line.arguments[position]);
}

Sorn& makeLibrary(const Arguments& arguments, const std::shared_ptr<headless::ManualClock>& clock) {
  auto bundle = std::make_shared<headless::HostBundle>();
  bundle->setIdentifier("console-host");
  bundle->setVersion("1.0");
  bundle->setBuild("1");
  if (arguments.libraryVersion) bundle->setLibraryVersion(arguments.libraryVersion);
  bundle->addResourceDirectory(arguments.configuration.parent_path());
  platform::Platform platform;
  platform.bundle = std::move(bundle);
  platform.clock = clock;
  if (arguments.storage) platform.deployment.storageOrigin = *arguments.storage;
  headless::fillHeadless(platform, arguments.data ? headless::XdgHomes::below(*arguments.data)
                                                  : headless::XdgHomes::fromEnvironment());
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

}  // namespace

void writeLine(const Dictionary& line) {
  static std::mutex& mutex = *new std::mutex;
  const std::string text = support::compactText(line).value_or("{}");
  const std::lock_guard lock(mutex);
  std::printf("%s\n", text.c_str());
  std::fflush(stdout);
}

Commands::Commands(const Arguments& arguments)
    : configuration_(arguments.configuration.filename().string()),
      clock_(arguments.manualClock ? std::make_shared<headless::ManualClock>(headless::SystemClock().now())
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
  addUserCommands();
  addLifecycleCommands();
  handlers_["wait"] = [](const CommandLine& line) {
    std::this_thread::sleep_for(std::chrono::duration<double>(std::min(positiveSeconds(line), 86400.0)));
    return Dictionary();
  };
  handlers_["quit"] = [](const CommandLine&) -> Dictionary {
    writeLine({{"command", "quit"}, {"ok", true}});
    std::_Exit(0);
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
    const double value = seconds(line);
    clock_->jumpTo(value >= smallestDate ? dateSince1970(value)
                                         : clock_->now() + std::chrono::duration<double>(value));
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

void Commands::run(std::string_view text) {
  Dictionary answer;
  try {
    const CommandLine line = parseCommandLine(text);
    if (line.command.empty()) return;
    answer.emplace("command", line.command);
    const auto handler = handlers_.find(line.command);
    if (handler == handlers_.end()) throw std::invalid_argument("unknown command");
    Dictionary told = handler->second(line);
    answer.merge(told);
    answer.emplace("ok", true);
  } catch (const std::exception& error) {
    // A line that could not even be split has no command of its own to name.
    answer.emplace("command", text.substr(0, text.find(' ')));
    answer.emplace("ok", false);
    answer.emplace("error", error.what());
  }
  writeLine(answer);
}

void Commands::terminate() {
  sorn_.applicationWillTerminate();
  std::fflush(stdout);
  std::_Exit(0);
}

}  // namespace sorn::console
