#include "host/LinuxDeviceFacts.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <ctime>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include <sys/utsname.h>

#include "support/BoundedFile.h"

namespace sorn::host {

namespace {

constexpr std::size_t longestFile = 65536;

// SMBIOS, system enclosure or chassis types.
constexpr std::string_view smbiosHandHeld = "11";
constexpr std::string_view smbiosTablet = "30";

std::string_view trimmed(std::string_view text) {
  constexpr std::string_view blanks(" \t\r\n\0", 5);
  const std::size_t first = text.find_first_not_of(blanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

// The value of a shell assignment as os-release and machine-info have them: bare, or in quotes with
// backslashes.
std::string unquoted(std::string_view value) {
  value = trimmed(value);
  const bool isQuoted =
      value.size() >= 2 && (value.front() == '"' || value.front() == '\'') && value.back() == value.front();
  if (!isQuoted) return std::string(value);
  value = value.substr(1, value.size() - 2);
  std::string text;
  for (std::size_t i = 0; i < value.size(); ++i) {
    if (value[i] == '\\' && i + 1 < value.size()) ++i;
    text += value[i];
  }
  return text;
}

std::optional<platform::Screen> screenOf(std::string_view mode) {
  platform::Screen screen;
  unsigned width = 0;
  unsigned height = 0;
  const char* end = mode.data() + mode.size();
  const auto afterWidth = std::from_chars(mode.data(), end, width);
  if (afterWidth.ec != std::errc() || afterWidth.ptr == end || *afterWidth.ptr != 'x') return std::nullopt;
  if (std::from_chars(afterWidth.ptr + 1, end, height).ec != std::errc()) return std::nullopt;
  if (width == 0 || height == 0) return std::nullopt;
  screen.width = width;
  screen.height = height;
  return screen;
}

}  // namespace

LinuxDeviceFacts::LinuxDeviceFacts(std::filesystem::path root, Environment environment)
    : root_(std::move(root)), environment_(environment ? std::move(environment) : [](const char* name) {
        return std::getenv(name);
      }) {}

std::optional<std::string> LinuxDeviceFacts::firstLine(const std::filesystem::path& file) const {
  const std::string text = support::readBounded(root_ / file, longestFile).value_or({});
  const std::string_view line = trimmed(std::string_view(text).substr(0, text.find('\n')));
  return line.empty() ? std::nullopt : std::optional<std::string>(line);
}

std::optional<std::string> LinuxDeviceFacts::assignment(const std::filesystem::path& file,
                                                        std::string_view key) const {
  const std::string text = support::readBounded(root_ / file, longestFile).value_or({});
  std::string_view rest = text;
  std::optional<std::string> found;
  while (!rest.empty()) {
    const std::size_t end = std::min(rest.find('\n'), rest.size());
    const std::string_view line = trimmed(rest.substr(0, end));
    // As in a shell, the last assignment counts.
    if (line.starts_with(key) && line.substr(key.size()).starts_with('=')) {
      found = unquoted(line.substr(key.size() + 1));
    }
    rest.remove_prefix(std::min(end + 1, rest.size()));
  }
  return found && found->empty() ? std::nullopt : found;
}

std::optional<std::string> LinuxDeviceFacts::chassis() const {
  // What the administrator says goes before what the firmware says, which is often left at its default.
  if (auto told = assignment("etc/machine-info", "CHASSIS")) return told;
  if (auto tree = firstLine("proc/device-tree/chassis-type")) return tree;
  const auto type = firstLine("sys/class/dmi/id/chassis_type");
  if (type == smbiosHandHeld) return "handset";
  if (type == smbiosTablet) return "tablet";
  return std::nullopt;
}

platform::DeviceIdiom LinuxDeviceFacts::idiom() const {
  const auto kind = chassis();
  if (kind == "handset") return platform::DeviceIdiom::phone;
  if (kind == "tablet") return platform::DeviceIdiom::tablet;
  return platform::DeviceIdiom::unspecified;
}

std::optional<std::string> LinuxDeviceFacts::model() const {
  if (auto product = firstLine("sys/class/dmi/id/product_name")) return product;
  return firstLine("proc/device-tree/model");
}

std::optional<platform::Screen> LinuxDeviceFacts::screen() const {
  std::error_code error;
  std::vector<std::filesystem::path> outputs;
  std::filesystem::directory_iterator entries(root_ / "sys/class/drm", error);
  while (!error && entries != std::filesystem::directory_iterator()) {
    outputs.push_back(entries->path().filename());
    entries.increment(error);
  }
  // The order of a folder's entries is anything; a device must report the same screen each time.
  std::sort(outputs.begin(), outputs.end());
  for (const std::filesystem::path& output : outputs) {
    const std::filesystem::path folder = std::filesystem::path("sys/class/drm") / output;
    if (firstLine(folder / "status") != "connected") continue;
    const auto mode = firstLine(folder / "modes");
    if (auto screen = mode ? screenOf(*mode) : std::nullopt) return screen;
  }
  return std::nullopt;
}

std::optional<std::string> LinuxDeviceFacts::systemVersion() const {
  if (auto version = assignment("etc/os-release", "VERSION_ID")) return version;
  return assignment("usr/lib/os-release", "VERSION_ID");
}

// language[_region][.encoding][@modifier] of the variable that rules messages.
std::string LinuxDeviceFacts::locale() const {
  for (const char* name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
    const char* value = environment_(name);
    if (!value || !*value) continue;
    const std::string_view text = value;
    return std::string(text.substr(0, text.find_first_of(".@")));
  }
  return {};
}

std::optional<std::string> LinuxDeviceFacts::language() const {
  const std::string name = locale();
  if (name == "C" || name == "POSIX") return std::nullopt;
  const std::string language = name.substr(0, name.find('_'));
  return language.empty() ? std::nullopt : std::optional(language);
}

std::optional<std::string> LinuxDeviceFacts::region() const {
  const std::string name = locale();
  const std::size_t separator = name.find('_');
  if (separator == std::string::npos || separator + 1 == name.size()) return std::nullopt;
  return name.substr(separator + 1);
}

int LinuxDeviceFacts::secondsFromGMT() const {
  const std::time_t now = std::time(nullptr);
  std::tm parts{};
  tzset();
  if (!localtime_r(&now, &parts)) return 0;
  return static_cast<int>(parts.tm_gmtoff);
}

std::optional<std::string> LinuxDeviceFacts::machine() const {
  utsname names{};
  if (uname(&names) != 0 || names.machine[0] == '\0') return std::nullopt;
  return names.machine;
}

}  // namespace sorn::host
