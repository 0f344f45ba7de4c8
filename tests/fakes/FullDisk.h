#pragma once

#include <csignal>

#include <sys/resource.h>

namespace sorn::tests {

// Lets no file of this process grow beyond some bytes, as a full disk would.
class FullDisk {
 public:
  explicit FullDisk(rlim_t bytes) : handler_(std::signal(SIGXFSZ, SIG_IGN)) {
    ::getrlimit(RLIMIT_FSIZE, &before_);
    const rlimit tight{bytes, before_.rlim_max};
    ::setrlimit(RLIMIT_FSIZE, &tight);
  }
  ~FullDisk() {
    ::setrlimit(RLIMIT_FSIZE, &before_);
    std::signal(SIGXFSZ, handler_);
  }
  FullDisk(const FullDisk&) = delete;
  FullDisk& operator=(const FullDisk&) = delete;

 private:
  rlimit before_{};
  void (*handler_)(int);
};

}  // namespace sorn::tests
