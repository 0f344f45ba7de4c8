#include "host/Syslog.h"

#include <array>
#include <cstdio>
#include <ctime>
#include <utility>

#include <sys/socket.h>
#include <sys/un.h>
#include <syslog.h>
#include <unistd.h>

namespace sorn::host {

namespace {

// What every log service takes in one datagram.
constexpr std::size_t longestLine = 8000;

int priorityOf(platform::SystemLogType type) {
  switch (type) {
    case platform::SystemLogType::error:
      return LOG_ERR;
    case platform::SystemLogType::info:
      return LOG_INFO;
    case platform::SystemLogType::standard:
      break;
  }
  return LOG_NOTICE;
}

// The time as the format wants it: English month, day padded with a blank.
std::string timeStamp() {
  static constexpr std::array<const char*, 12> months{"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                      "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  const std::time_t now = std::time(nullptr);
  std::tm parts{};
  localtime_r(&now, &parts);
  char text[64];
  std::snprintf(text, sizeof text, "%s %2d %02d:%02d:%02d", months[static_cast<std::size_t>(parts.tm_mon)],
                parts.tm_mday, parts.tm_hour, parts.tm_min, parts.tm_sec);
  return text;
}

}  // namespace

Syslog::Syslog(std::string label, std::filesystem::path socket)
    : label_(std::move(label)), socket_(std::move(socket)) {}

Syslog::~Syslog() {
  if (descriptor_ >= 0) ::close(descriptor_);
}

void Syslog::write(platform::SystemLogType type, std::string_view line) {
  const std::string_view shortened = line.substr(0, longestLine);
  const std::string header = "<" + std::to_string(LOG_USER | priorityOf(type)) + ">" + timeStamp() + " ";
  const std::string message = label_ + "[" + std::to_string(::getpid()) + "]: " + std::string(shortened);
  if (send(header + message)) return;
  // No log service, as in a container: the line goes where its operator looks.
  std::fprintf(stderr, "%s\n", message.c_str());
}

// Once more after a failure: the log service may have begun anew since.
bool Syslog::send(const std::string& datagram) {
  for (int attempt = 0; attempt < 2; ++attempt) {
    if (descriptor_ < 0 && !connectSocket()) return false;
    if (::send(descriptor_, datagram.data(), datagram.size(), MSG_NOSIGNAL | MSG_DONTWAIT) >= 0) return true;
    ::close(std::exchange(descriptor_, -1));
  }
  return false;
}

bool Syslog::connectSocket() {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  const std::string& path = socket_.native();
  if (path.size() >= sizeof address.sun_path) return false;
  path.copy(address.sun_path, path.size());
  const int descriptor = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  if (descriptor < 0) return false;
  if (::connect(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    ::close(descriptor);
    return false;
  }
  descriptor_ = descriptor;
  return true;
}

}  // namespace sorn::host
