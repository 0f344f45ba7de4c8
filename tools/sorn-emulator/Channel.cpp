#include "sorn-emulator/Channel.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <utility>

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace sorn::emulator {

Descriptor::Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}

Descriptor& Descriptor::operator=(Descriptor&& other) noexcept {
  if (this != &other) {
    close();
    number_ = std::exchange(other.number_, -1);
  }
  return *this;
}

Descriptor::~Descriptor() { close(); }

void Descriptor::close() {
  if (number_ >= 0) ::close(std::exchange(number_, -1));
}

Channel::Channel(Descriptor socket, int stop) : socket_(std::move(socket)), stop_(stop) {}

Channel::Wake Channel::waitFor(short events) {
  std::array<pollfd, 2> waiting{{{socket_.number(), events, 0}, {stop_, POLLIN, 0}}};
  while (poll(waiting.data(), waiting.size(), -1) < 0 && errno == EINTR) {
  }
  return waiting[1].revents ? Wake::stopped : Wake::ready;
}

std::size_t Channel::read(char* buffer, std::size_t size) {
  while (waitFor(POLLIN) == Wake::ready) {
    const auto count = recv(socket_.number(), buffer, size, MSG_DONTWAIT);
    if (count >= 0) return static_cast<std::size_t>(count);
    if (errno != EAGAIN && errno != EINTR) return 0;
  }
  return 0;
}

bool Channel::write(std::string_view bytes) {
  while (!bytes.empty()) {
    if (waitFor(POLLOUT) == Wake::stopped) return false;
    const auto count = send(socket_.number(), bytes.data(), bytes.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
    if (count < 0 && errno != EAGAIN && errno != EINTR) return false;
    if (count > 0) bytes.remove_prefix(static_cast<std::size_t>(count));
  }
  return true;
}

bool Channel::pause(std::chrono::duration<double> time) {
  using Clock = std::chrono::steady_clock;
  const auto end = Clock::now() + std::chrono::duration_cast<Clock::duration>(time);
  for (auto left = time; left.count() > 0; left = end - Clock::now()) {
    std::array<pollfd, 2> waiting{{{socket_.number(), POLLRDHUP, 0}, {stop_, POLLIN, 0}}};
    const int milliseconds = static_cast<int>(std::ceil(std::min(left.count(), 3600.0) * 1000));
    if (poll(waiting.data(), waiting.size(), milliseconds) > 0) return false;
  }
  return true;
}

void Channel::reset() {
  const linger abort{1, 0};
  setsockopt(socket_.number(), SOL_SOCKET, SO_LINGER, &abort, sizeof abort);
  socket_.close();
}

}  // namespace sorn::emulator
