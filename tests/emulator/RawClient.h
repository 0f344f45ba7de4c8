#pragma once

// A plain socket that speaks HTTP by hand, so that a test sees how a connection really ended.

#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace sorn::emulator::test {

struct RawAnswer {
  enum class End { complete, early, reset, silent };  // silent: nothing more came within the patience

  int status = 0;  // 0 when what came is no HTTP answer
  std::map<std::string, std::string> headers;
  std::string body;
  End end = End::silent;
};

class RawClient {
 public:
  explicit RawClient(int port, std::chrono::milliseconds patience = std::chrono::seconds(10));
  ~RawClient();

  RawClient(const RawClient&) = delete;
  RawClient& operator=(const RawClient&) = delete;

  bool isConnected() const { return socket_ >= 0; }
  bool send(std::string_view bytes);
  RawAnswer receive();
  // Whether the peer has ended the connection in an orderly way.
  bool seesEnd();

 private:
  // Bytes read, 0 at the end, -1 for a reset, -2 when nothing came in time.
  long readMore();

  int socket_ = -1;
  std::string buffer_;
};

// A request with the headers given as lines, "Host: 127.0.0.1" and the body's length.
std::string requestText(std::string_view method, std::string_view target, std::string_view body = "",
                        std::string_view headerLines = "");

// One request on a connection of its own.
RawAnswer exchange(int port, std::string_view method, std::string_view target, std::string_view body = "",
                   std::string_view headerLines = "");

// What zlib makes of a gzip text; absent when it ends early or is none.
std::optional<std::string> unpacked(std::string_view gzip);

}  // namespace sorn::emulator::test
