#pragma once

#include <condition_variable>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <utility>

#include "sorn/platform/HttpTransport.h"

namespace sorn::http {

class CurlTransfer;

// HTTP over libcurl: one pool of connections, HTTP/2 where a server offers it, cookies for the life of the
// transport. libcurl is set up by the first request, so a host that sends nothing does not pay for it.
//
// Redirects: 301 and 302 turn a POST into a GET, 303 asks for a GET, 307 and 308 repeat the request; another
// origin gets no "Authorization". A body that ends early, also inside its gzip coding, is `connectionLost`,
// one that can't be unpacked `cannotDecodeContent`, one beyond 64 MiB `dataTooLarge`. None of this is told
// of a body that the request does not read. Header fields with a line end are refused with `badUrl`. The idle
// time-out runs on the machine's clock.
class CurlTransport final : public platform::HttpTransport {
 public:
  CurlTransport();
  // Drops what is running without completing it.
  ~CurlTransport() override;
  CurlTransport(const CurlTransport&) = delete;
  CurlTransport& operator=(const CurlTransport&) = delete;

  RequestId send(platform::HttpRequest request, Completion completion) override;
  void cancel(RequestId request) override;
  void wait(std::chrono::duration<double> longest) override;
  void wakeUp() override;

 private:
  class Session;
  struct Running {
    std::unique_ptr<CurlTransfer> transfer;
    Completion completion;
  };
  using RunningRequests = std::map<RequestId, Running>;

  Session& session();
  void sleepWithoutSession(std::chrono::duration<double> longest);
  int pollMilliseconds(std::chrono::duration<double> longest) const;
  void moveOn();
  void collectEnded();
  void endSilent();
  void finish(RunningRequests::iterator request, Result result);
  void runCompletions();

  // Guards the state of waking and the making of the session, which `wakeUp` looks at from other threads.
  std::mutex wakeMutex_;
  std::condition_variable wakeCondition_;
  bool isWoken_ = false;
  std::unique_ptr<Session> session_;

  // The task thread's alone.
  RunningRequests running_;
  std::deque<std::pair<Completion, Result>> ended_;
  RequestId lastId_ = 0;
};

}  // namespace sorn::http
