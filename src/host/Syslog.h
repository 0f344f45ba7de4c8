#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include "sorn/platform/SystemLog.h"

namespace sorn::host {

// The system log after RFC 3164: a datagram a line to the log's socket, under this library's own label. Does
// not go through the C library's `syslog`, whose label belongs to the host. The standard type is a notice.
// Without a log socket lines go to the standard error stream.
class Syslog final : public platform::SystemLog {
 public:
  explicit Syslog(std::string label, std::filesystem::path socket = "/dev/log");
  ~Syslog() override;
  Syslog(const Syslog&) = delete;
  Syslog& operator=(const Syslog&) = delete;

  void write(platform::SystemLogType type, std::string_view line) override;

 private:
  bool send(const std::string& datagram);
  bool connectSocket();

  const std::string label_;
  const std::filesystem::path socket_;
  int descriptor_ = -1;
};

}  // namespace sorn::host
