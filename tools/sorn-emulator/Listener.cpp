#include "sorn-emulator/Listener.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <exception>
#include <optional>
#include <stdexcept>
#include <utility>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include "sorn-emulator/Http.h"

namespace sorn::emulator {

namespace {

Descriptor openSocket(const std::string& address, int port) {
  sockaddr_in place{};
  place.sin_family = AF_INET;
  place.sin_port = htons(static_cast<std::uint16_t>(port));
  if (inet_pton(AF_INET, address.c_str(), &place.sin_addr) != 1) {
    throw std::runtime_error(address + " is no IPv4 address");
  }
  Descriptor socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  // A port left by a stopped emulator can be taken again although old connections still linger.
  const int on = 1;
  setsockopt(socket.number(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
  if (bind(socket.number(), reinterpret_cast<const sockaddr*>(&place), sizeof place) != 0 ||
      listen(socket.number(), 128) != 0) {
    throw std::runtime_error("cannot listen on " + address + ":" + std::to_string(port) + ": " +
                             std::strerror(errno));
  }
  return socket;
}

int portOf(const Descriptor& socket) {
  sockaddr_in place{};
  socklen_t size = sizeof place;
  getsockname(socket.number(), reinterpret_cast<sockaddr*>(&place), &size);
  return ntohs(place.sin_port);
}

}  // namespace

struct Listener::Connection {
  Connection(Descriptor socket, int stop) : channel(std::in_place, std::move(socket), stop) {}

  std::optional<Channel> channel;
  std::atomic<bool> ended{false};
  std::thread thread;
};

Listener::Listener(const std::string& address, int port, Serve serve)
    : serve_(std::move(serve)),
      stop_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)),
      socket_(openSocket(address, port)),
      port_(portOf(socket_)) {
  if (!stop_.isOpen()) throw std::runtime_error("no event descriptor to be had");
  acceptor_ = std::thread([this] { acceptLoop(); });
}

Listener::~Listener() {
  // The counter is never read, so the descriptor stays readable for every thread that looks.
  const std::uint64_t one = 1;
  while (write(stop_.number(), &one, sizeof one) < 0 && errno == EINTR) {
  }
  acceptor_.join();
}

void Listener::acceptLoop() {
  std::array<pollfd, 2> waiting{{{socket_.number(), POLLIN, 0}, {stop_.number(), POLLIN, 0}}};
  for (;;) {
    if (poll(waiting.data(), waiting.size(), -1) < 0 && errno != EINTR) break;
    if (waiting[1].revents) break;
    Descriptor accepted(accept4(socket_.number(), nullptr, nullptr, SOCK_CLOEXEC));
    reapEnded();
    if (!accepted.isOpen()) {
      // Out of descriptors: a moment's rest, instead of a loop that turns without effect.
      if (errno == EMFILE || errno == ENFILE) std::this_thread::sleep_for(std::chrono::milliseconds(10));
      continue;
    }
    const int on = 1;
    setsockopt(accepted.number(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    auto& connection = connections_.emplace_back(std::move(accepted), stop_.number());
    connection.thread = std::thread([this, &connection] { this->serve(connection); });
  }
  socket_.close();
  for (auto& connection : connections_) connection.thread.join();
  connections_.clear();
}

void Listener::serve(Connection& connection) {
  // A request that nobody foresaw costs its own connection, not the process.
  try {
    serve_(*connection.channel);
  } catch (const std::exception&) {
    connection.channel->write(headOf({500, {}, {}}, 0, false));
  }
  connection.channel.reset();
  connection.ended = true;
}

void Listener::reapEnded() {
  connections_.remove_if([](Connection& connection) {
    if (!connection.ended) return false;
    connection.thread.join();
    return true;
  });
}

}  // namespace sorn::emulator
