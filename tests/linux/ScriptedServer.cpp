#include "linux/ScriptedServer.h"

#include <algorithm>
#include <cstdlib>
#include <optional>
#include <stdexcept>
#include <utility>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <strings.h>
#include <sys/socket.h>
#include <unistd.h>

namespace sorn::testing {

namespace {

constexpr std::string_view endOfHead = "\r\n\r\n";

// Takes one whole request off the front of what was received; absent while it is not all there.
std::optional<Request> takeRequest(std::string& received) {
  const std::size_t end = received.find(endOfHead);
  if (end == std::string::npos) return std::nullopt;
  Request request;
  request.head = received.substr(0, end + 2);
  const std::string length = request.header("Content-Length");
  const std::size_t bodySize = length.empty() ? 0 : std::stoul(length);
  if (received.size() < end + endOfHead.size() + bodySize) return std::nullopt;
  request.body = received.substr(end + endOfHead.size(), bodySize);
  received.erase(0, end + endOfHead.size() + bodySize);
  const std::size_t blank = request.head.find(' ');
  request.method = request.head.substr(0, blank);
  request.target = request.head.substr(blank + 1, request.head.find(' ', blank + 1) - blank - 1);
  return request;
}

}  // namespace

Connection::Connection(int descriptor, const std::atomic<bool>& isEnding)
    : descriptor_(descriptor), isEnding_(isEnding) {}

void Connection::send(std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t count = ::send(descriptor_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (count <= 0) return;
    bytes.remove_prefix(static_cast<std::size_t>(count));
  }
}

void Connection::pause(std::chrono::milliseconds time) {
  const auto end = std::chrono::steady_clock::now() + time;
  while (!isEnding_ && std::chrono::steady_clock::now() < end) {
    std::this_thread::sleep_for(std::min<std::chrono::nanoseconds>(std::chrono::milliseconds(5),
                                                                   end - std::chrono::steady_clock::now()));
  }
}

void Connection::hang() { pause(std::chrono::seconds(20)); }

void Connection::close() { ::shutdown(descriptor_, SHUT_RDWR); }

void Connection::reset() {
  const linger atOnce{1, 0};
  ::setsockopt(descriptor_, SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
  ::shutdown(descriptor_, SHUT_RD);
}

void Connection::answer(std::string_view status, std::string_view body,
                        const std::vector<std::string>& headers) {
  std::string text = "HTTP/1.1 " + std::string(status) + "\r\n";
  for (const std::string& line : headers) text += line + "\r\n";
  text += "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n";
  send(text + std::string(body));
}

std::string Request::header(std::string_view name) const {
  std::size_t start = head.find("\r\n") + 2;
  while (start < head.size()) {
    const std::size_t end = head.find("\r\n", start);
    const std::size_t colon = head.find(':', start);
    if (colon < end && colon - start == name.size() &&
        strncasecmp(head.data() + start, name.data(), name.size()) == 0) {
      return head.substr(std::min(colon + 2, end), end - std::min(colon + 2, end));
    }
    start = end + 2;
  }
  return {};
}

ScriptedServer::ScriptedServer(Script script) : script_(std::move(script)) {
  listen();
  acceptor_ = std::thread([this] { accept(); });
}

ScriptedServer::~ScriptedServer() {
  isEnding_ = true;
  acceptor_.join();
  {
    const std::lock_guard lock(mutex_);
    for (const int descriptor : descriptors_) ::shutdown(descriptor, SHUT_RDWR);
  }
  for (std::thread& connection : connections_) connection.join();
  ::close(listener_);
}

std::string ScriptedServer::origin() const { return "http://127.0.0.1:" + std::to_string(port_); }

std::vector<Request> ScriptedServer::requests() const {
  const std::lock_guard lock(mutex_);
  return requests_;
}

void ScriptedServer::listen() {
  listener_ = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t length = sizeof address;
  auto* plain = reinterpret_cast<sockaddr*>(&address);
  if (::bind(listener_, plain, length) != 0 || ::listen(listener_, 64) != 0 ||
      ::getsockname(listener_, plain, &length) != 0) {
    throw std::runtime_error("no loopback port");
  }
  port_ = ntohs(address.sin_port);
}

void ScriptedServer::accept() {
  for (int number = 0; !isEnding_;) {
    pollfd waiting{listener_, POLLIN, 0};
    if (::poll(&waiting, 1, 10) <= 0) continue;
    const int descriptor = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
    if (descriptor < 0) continue;
    const std::lock_guard lock(mutex_);
    descriptors_.push_back(descriptor);
    connections_.emplace_back([this, descriptor, number] { serve(descriptor, number); });
    ++number;
  }
}

void ScriptedServer::serve(int descriptor, int number) {
  Connection connection(descriptor, isEnding_);
  std::string received;
  char piece[65536];
  while (true) {
    const ssize_t count = ::recv(descriptor, piece, sizeof piece, 0);
    if (count <= 0) break;
    received.append(piece, static_cast<std::size_t>(count));
    while (auto request = takeRequest(received)) {
      request->connection = number;
      {
        const std::lock_guard lock(mutex_);
        requests_.push_back(*request);
      }
      script_(*request, connection);
    }
  }
  const std::lock_guard lock(mutex_);
  std::erase(descriptors_, descriptor);
  ::close(descriptor);
}

}  // namespace sorn::testing
