#pragma once

// The device and the running application as a test wants them. Plain fields are set before the library
// starts.

#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "sorn/platform/Application.h"
#include "sorn/platform/DeviceFacts.h"
#include "sorn/platform/SystemLog.h"

namespace sorn::tests {

class FakeDeviceFacts : public platform::DeviceFacts {
 public:
  platform::DeviceIdiom idiomFact = platform::DeviceIdiom::phone;
  std::optional<std::string> modelFact = "Model 7";
  std::optional<platform::Screen> screenFact = platform::Screen{1080, 2340, 3};
  std::optional<std::string> operatorFact = "26201";
  std::optional<std::string> countryFact = "de";
  std::optional<std::string> systemFact = "12";
  std::optional<std::string> languageFact = "zh";
  std::optional<std::string> regionFact = "TW";
  int secondsFact = -12600;
  std::optional<std::string> machineFact = "x86_64";
  std::optional<int> locationFact;

  platform::DeviceIdiom idiom() const override { return idiomFact; }
  std::optional<std::string> model() const override { return modelFact; }
  std::optional<platform::Screen> screen() const override { return screenFact; }
  std::optional<std::string> networkOperator() const override { return operatorFact; }
  std::optional<std::string> countryCode() const override { return countryFact; }
  std::optional<std::string> systemVersion() const override { return systemFact; }
  std::optional<std::string> language() const override { return languageFact; }
  std::optional<std::string> region() const override { return regionFact; }
  int secondsFromGMT() const override { return secondsFact; }
  std::optional<std::string> machine() const override { return machineFact; }
  std::optional<int> locationAuthorization() const override { return locationFact; }
};

class FakeApplication : public platform::Application {
 public:
  bool expiresAtOnce = false;

  int backgroundRefreshStatus() const override { return 2; }
  int orientation() const override { return 1; }
  BackgroundTask beginBackgroundTask(std::string_view name, std::function<void()> expired) override {
    BackgroundTask task = invalidBackgroundTask;
    {
      const std::lock_guard lock(mutex_);
      task = ++last_;
      names_.emplace_back(name);
      open_[task] = expired;
    }
    if (expiresAtOnce) expired();
    return task;
  }
  void endBackgroundTask(BackgroundTask task) override {
    const std::lock_guard lock(mutex_);
    ++ends_[task];
    open_.erase(task);
  }

  std::vector<std::string> begunTasks() const {
    const std::lock_guard lock(mutex_);
    return names_;
  }
  std::size_t openTasks() const {
    const std::lock_guard lock(mutex_);
    return open_.size();
  }
  // How often each task was ended, the invalid one included.
  std::map<BackgroundTask, int> ends() const {
    const std::lock_guard lock(mutex_);
    return ends_;
  }
  // The time of every open task is over.
  void expireTasks() {
    std::map<BackgroundTask, std::function<void()>> expiring;
    {
      const std::lock_guard lock(mutex_);
      expiring = open_;
    }
    for (const auto& [task, expired] : expiring) expired();
  }

 private:
  mutable std::mutex mutex_;
  BackgroundTask last_ = invalidBackgroundTask;
  std::vector<std::string> names_;
  std::map<BackgroundTask, std::function<void()>> open_;
  std::map<BackgroundTask, int> ends_;
};

class RecordingLog : public platform::SystemLog {
 public:
  void write(platform::SystemLogType, std::string_view line) override {
    const std::lock_guard lock(mutex_);
    lines_.emplace_back(line);
  }
  std::vector<std::string> lines() const {
    const std::lock_guard lock(mutex_);
    return lines_;
  }

 private:
  mutable std::mutex mutex_;
  std::vector<std::string> lines_;
};

}  // namespace sorn::tests
