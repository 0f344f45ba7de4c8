#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace sorn::platform {

// Bytes to send, in pieces, so that a large body is never copied to make it contiguous.
struct HttpBody {
  std::vector<std::string> pieces;

  std::size_t size() const {
    std::size_t total = 0;
    for (const std::string& piece : pieces) total += piece.size();
    return total;
  }
};

struct HttpRequest {
  std::string method;  // "GET" or "POST"
  std::string url;     // http or https; the path goes out exactly as it stands here
  std::vector<std::pair<std::string, std::string>> headers;
  HttpBody body;
  // Longest time without a single byte received or sent. A slow but steady answer never runs into it.
  std::chrono::duration<double> idleTimeout{60.0};
  // A request that carries a signature stays with its origin (scheme, host, port): a redirect elsewhere is
  // then the answer itself, with its 3xx status.
  bool staysOnOrigin = false;
  // For a request whose failures count by their status alone: the body of an answer with another status than
  // 200 is left out, whatever it is like.
  bool readsOnlySuccess = false;
};

struct HttpResponse {
  int status = 0;
  std::vector<std::pair<std::string, std::string>> headers;
  std::string body;  // content encoding already undone

  // The last header of this name, compared without case; absent when there is none.
  std::optional<std::string> header(std::string_view name) const;
};

// Why no answer came; never an HTTP status. Codes are negative.
struct TransportError {
  static constexpr int unknown = -1;
  static constexpr int cancelled = -999;
  static constexpr int badUrl = -1000;
  static constexpr int timedOut = -1001;
  static constexpr int unsupportedUrl = -1002;
  static constexpr int cannotFindHost = -1003;
  static constexpr int cannotConnect = -1004;
  static constexpr int connectionLost = -1005;
  static constexpr int tooManyRedirects = -1007;
  static constexpr int offline = -1009;
  static constexpr int badServerResponse = -1011;
  static constexpr int cannotDecodeContent = -1016;
  static constexpr int dataTooLarge = -1103;
  static constexpr int secureConnectionFailed = -1200;

  int code = unknown;
};

// Sends HTTP requests. The library's task thread owns it: every call but `wakeUp` comes from that thread, and
// that thread sleeps in `wait`, so an adapter needs no thread of its own.
class HttpTransport {
 public:
  using RequestId = std::uint64_t;
  using Result = std::variant<HttpResponse, TransportError>;
  using Completion = std::function<void(Result)>;

  virtual ~HttpTransport() = default;

  // Begins the request. The completion runs exactly once, on the task thread inside a later `wait`, never
  // inside `send` itself.
  virtual RequestId send(HttpRequest request, Completion completion) = 0;
  // Ends a running request with `TransportError::cancelled`; nothing happens when it has ended.
  virtual void cancel(RequestId request) = 0;

  // Moves transfers on and runs completions; returns after at most this time, as soon as something has
  // happened or `wakeUp` was called. A call to `wakeUp` before `wait` makes it return at once.
  virtual void wait(std::chrono::duration<double> longest) = 0;
  // Ends a `wait` early. Callable from any thread.
  virtual void wakeUp() = 0;
};

}  // namespace sorn::platform
