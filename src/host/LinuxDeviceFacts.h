#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <string>

#include "sorn/platform/DeviceFacts.h"

namespace sorn::host {

// What the kernel's and the system's files tell about the device. Reads them at each call, so that a change
// of the screen or the locale is seen. Any thread.
class LinuxDeviceFacts final : public platform::DeviceFacts {
 public:
  // A variable of the environment; null when it is not set.
  using Environment = std::function<const char*(const char* name)>;

  // `root` stands before the paths of /etc, /proc, /sys and /usr. Without an environment the process's own.
  explicit LinuxDeviceFacts(std::filesystem::path root = "/", Environment environment = {});

  // The chassis as the administrator, the device tree or the firmware names it.
  platform::DeviceIdiom idiom() const override;
  std::optional<std::string> model() const override;
  // The preferred mode of the first connected output, with one pixel to a point.
  std::optional<platform::Screen> screen() const override;
  std::optional<std::string> networkOperator() const override { return std::nullopt; }
  std::optional<std::string> countryCode() const override { return std::nullopt; }
  std::optional<std::string> systemVersion() const override;
  std::optional<std::string> language() const override;
  std::optional<std::string> region() const override;
  int secondsFromGMT() const override;
  std::optional<std::string> machine() const override;

 private:
  std::optional<std::string> firstLine(const std::filesystem::path& file) const;
  std::optional<std::string> assignment(const std::filesystem::path& file, std::string_view key) const;
  std::optional<std::string> chassis() const;
  std::string locale() const;

  const std::filesystem::path root_;
  const Environment environment_;
};

}  // namespace sorn::host
