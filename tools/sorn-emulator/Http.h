#pragma once

// One HTTP exchange as the emulator sees it: what came in, byte for byte, and what goes out.

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace sorn::emulator {

using Headers = std::vector<std::pair<std::string, std::string>>;

// Whether two header names, or two words in a header's value, are the same but for the case of letters.
bool sameName(std::string_view one, std::string_view other);

struct HttpRequest {
  std::string method;
  std::string path;   // as it was sent, without the query
  std::string query;  // what follows "?", as it was sent
  Headers headers;    // in order of arrival, names as they were spelt
  std::string body;   // a chunked body joined together, else untouched
  double at = 0;      // when its last byte had come, seconds since 1970
  bool keepAlive = true;

  // The value of the first header of this name, in any case; null when there is none.
  const std::string* header(std::string_view name) const;
};

struct HttpAnswer {
  int status = 200;
  Headers headers;
  std::string body;
};

// An answer that carries a JSON text.
HttpAnswer jsonAnswer(int status, std::string text);

// Status line and headers of `answer`, which announces `length` bytes of body.
std::string headOf(const HttpAnswer& answer, std::size_t length, bool keepAlive);

// Whether an answer of this status has a body at all.
bool mayHaveBody(int status);

// The values of a query text, percent-decoded.
std::vector<std::pair<std::string, std::string>> queryItems(std::string_view query);

}  // namespace sorn::emulator
