#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <list>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace sorn::testing {

// One client's connection, as a script for it sees it.
class Connection {
 public:
  explicit Connection(int descriptor, const std::atomic<bool>& isEnding);

  void send(std::string_view bytes);
  // Sleeps, but not beyond the end of the server.
  void pause(std::chrono::milliseconds time);
  // Until the server ends.
  void hang();
  // An orderly end.
  void close();
  // Closes with a reset instead of an orderly end.
  void reset();
  // An answer with "Content-Length" and these further header lines.
  void answer(std::string_view status, std::string_view body = "",
              const std::vector<std::string>& headers = {});

 private:
  friend class ScriptedServer;
  const int descriptor_;
  const std::atomic<bool>& isEnding_;
};

struct Request {
  std::string method;
  std::string target;
  std::string head;  // the request line and the header lines as they came
  std::string body;
  int connection = 0;  // counts connections from 0

  // The value of the first header of that name, without its surroundings; empty when there is none.
  std::string header(std::string_view name) const;
};

// An HTTP/1.1 server on a free loopback port whose answers are written out byte by byte by the test. A thread
// for each connection; ends with the test.
class ScriptedServer {
 public:
  using Script = std::function<void(const Request&, Connection&)>;

  // The script runs for each request, on the connection's thread. After it the connection waits for another
  // request, unless it was closed.
  explicit ScriptedServer(Script script);
  ~ScriptedServer();
  ScriptedServer(const ScriptedServer&) = delete;
  ScriptedServer& operator=(const ScriptedServer&) = delete;

  std::string origin() const;
  std::string url(std::string_view target) const { return origin() + std::string(target); }
  // What has come in so far.
  std::vector<Request> requests() const;

 private:
  void listen();
  void accept();
  void serve(int descriptor, int number);

  const Script script_;
  int listener_ = -1;
  int port_ = 0;
  std::atomic<bool> isEnding_{false};
  mutable std::mutex mutex_;
  std::vector<Request> requests_;
  std::vector<int> descriptors_;
  std::list<std::thread> connections_;
  std::thread acceptor_;
};

}  // namespace sorn::testing
