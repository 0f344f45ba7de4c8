#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <variant>

#include "http/CurlTransport.h"

namespace sorn::tests {

// Runs requests through a transport as the task thread does, and tells what came of them.
class HttpClient {
 public:
  using Result = platform::HttpTransport::Result;

  static platform::HttpRequest get(std::string url) {
    platform::HttpRequest request;
    request.method = "GET";
    request.url = std::move(url);
    return request;
  }
  static platform::HttpRequest post(std::string url, std::vector<std::string> pieces) {
    platform::HttpRequest request = get(std::move(url));
    request.method = "POST";
    request.body.pieces = std::move(pieces);
    return request;
  }

  // The answer, or `unknown` when nothing has come of the request after ten seconds.
  Result fetch(platform::HttpRequest request) {
    auto result = std::make_shared<std::optional<Result>>();
    transport.send(std::move(request), [result](Result outcome) { *result = std::move(outcome); });
    waitUntil([&] { return result->has_value(); });
    return result->value_or(platform::TransportError{platform::TransportError::unknown});
  }

  // The error's code; 0 for an answer.
  int errorOf(platform::HttpRequest request) {
    const Result result = fetch(std::move(request));
    const auto* error = std::get_if<platform::TransportError>(&result);
    return error ? error->code : 0;
  }

  // The answer; one with status -1 in place of an error.
  platform::HttpResponse answerOf(platform::HttpRequest request) {
    Result result = fetch(std::move(request));
    auto* response = std::get_if<platform::HttpResponse>(&result);
    return response ? std::move(*response) : platform::HttpResponse{-1, {}, {}};
  }

  template <class Condition>
  bool waitUntil(Condition condition) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (!condition()) {
      if (std::chrono::steady_clock::now() > end) return false;
      transport.wait(std::chrono::milliseconds(50));
    }
    return true;
  }

  http::CurlTransport transport;
};

}  // namespace sorn::tests
