#pragma once

// Reads one connection's requests: HTTP/1.1 (RFC 9112) with keep-alive, bodies of known length and chunked.

#include <optional>
#include <string>
#include <string_view>

#include "sorn-emulator/Channel.h"
#include "sorn-emulator/Http.h"

namespace sorn::emulator {

class HttpReader {
 public:
  static constexpr std::size_t longestHead = std::size_t{64} << 10;
  static constexpr std::size_t longestBody = std::size_t{256} << 20;

  enum class Outcome { request, end, malformed, tooLarge };

  explicit HttpReader(Channel& channel);

  // Waits for the next request; `end` when the connection or the server ends before one is complete.
  Outcome next(HttpRequest& request);

 private:
  bool fill();
  std::optional<std::string> readLine();
  Outcome readHead(HttpRequest& request);
  Outcome readBody(HttpRequest& request);
  Outcome readExactly(std::size_t length, std::string& body);
  Outcome readChunks(std::string& body);

  Channel& channel_;
  std::string buffer_;  // read but not used yet
};

}  // namespace sorn::emulator
