#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <mutex>
#include <optional>
#include <regex>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "sorn-emulator/Listener.h"

namespace sorn::tests {

// One client's connection, as a script for it sees it.
class Connection {
 public:
  explicit Connection(emulator::Channel& channel) : channel_(channel) {}

  void send(std::string_view bytes) { channel_.write(bytes); }
  // Sleeps, but not beyond the end of the server or of the client.
  void pause(std::chrono::milliseconds time) { channel_.pause(time); }
  void hang() { pause(std::chrono::hours(1)); }
  // An orderly end once the script has returned.
  void close() { isClosed_ = true; }
  bool isClosed() const { return isClosed_; }
  // Closes with a reset instead of an orderly end.
  void reset() { channel_.reset(); }
  // An answer with "Content-Length" and these further header lines.
  void answer(std::string_view status, std::string_view body = "",
              const std::vector<std::string>& headers = {}) {
    std::string text = "HTTP/1.1 " + std::string(status) + "\r\n";
    for (const std::string& line : headers) text += line + "\r\n";
    text += "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n";
    send(text.append(body));
  }

 private:
  emulator::Channel& channel_;
  bool isClosed_ = false;
};

struct Request {
  std::string method;
  std::string target;
  std::string head;  // the request line and the header lines as they came
  std::string body;
  int connection = 0;  // counts connections from 0

  // The value of the first header of that name, without its surroundings; empty when there is none.
  std::string header(const std::string& name) const {
    std::smatch found;
    const std::regex line("\r\n" + name + ": *([^\r]*)", std::regex::icase);
    return std::regex_search(head, found, line) ? found[1].str() : "";
  }
};

// An HTTP/1.1 server on a free loopback port whose answers are written out byte by byte by the test. A thread
// for each connection; ends with the test.
class ScriptedServer {
 public:
  // Runs for each request, on the connection's thread. After it the connection waits for another request,
  // unless it was closed.
  using Script = std::function<void(const Request&, Connection&)>;

  explicit ScriptedServer(Script script)
      : script_(std::move(script)), listener_("127.0.0.1", 0, [this](auto& channel) { serve(channel); }) {}

  std::string origin() const { return "http://127.0.0.1:" + std::to_string(listener_.port()); }
  std::string url(std::string_view target) const { return origin() + std::string(target); }
  // What has come in so far.
  std::vector<Request> requests() const {
    const std::lock_guard lock(mutex_);
    return requests_;
  }

 private:
  void serve(emulator::Channel& channel) {
    const int number = connections_++;
    Connection connection(channel);
    std::string received;
    char piece[65536];
    while (const std::size_t count = channel.read(piece, sizeof piece)) {
      received.append(piece, count);
      while (auto request = takeRequest(received)) {
        request->connection = number;
        {
          const std::lock_guard lock(mutex_);
          requests_.push_back(*request);
        }
        script_(*request, connection);
        if (connection.isClosed()) return;
      }
    }
  }

  // Takes one whole request off the front of what was received; absent while it is not all there.
  static std::optional<Request> takeRequest(std::string& received) {
    const std::size_t end = received.find("\r\n\r\n");
    if (end == std::string::npos) return std::nullopt;
    Request request;
    request.head = received.substr(0, end + 2);
    const std::string length = request.header("Content-Length");
    const std::size_t whole = end + 4 + (length.empty() ? 0 : std::stoul(length));
    if (received.size() < whole) return std::nullopt;
    request.body = received.substr(end + 4, whole - end - 4);
    received.erase(0, whole);
    const std::size_t blank = request.head.find(' ');
    request.method = request.head.substr(0, blank);
    request.target = request.head.substr(blank + 1, request.head.find(' ', blank + 1) - blank - 1);
    return request;
  }

  const Script script_;
  mutable std::mutex mutex_;
  std::vector<Request> requests_;
  std::atomic<int> connections_ = 0;
  emulator::Listener listener_;  // the last: its threads use the rest
};

}  // namespace sorn::tests
