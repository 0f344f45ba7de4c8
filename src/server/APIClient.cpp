#include "server/APIClient.h"

#include <utility>

#include "server/SignedRequest.h"

namespace sorn::server {

using platform::HttpResponse;
using platform::TransportError;
using support::LogLevel;

void APIClient::request(Endpoint endpoint, Completion completion) {
  // A function object must be copyable, and a report's body may be very large: share it.
  auto shared = std::make_shared<Endpoint>(std::move(endpoint));
  tasks_.post([this, shared, completion = std::move(completion)] { send(std::move(*shared), completion); });
}

void APIClient::send(Endpoint endpoint, const Completion& completion) {
  const std::string_view path = description(endpoint);
  std::optional<platform::HttpBody> body = bodyOf(std::move(endpoint), sources_);
  if (!body) {
    completion(CallFailure(PlatformError{std::string(support::JsonError::domain), support::JsonError::code}));
    return;
  }
  auto request = signedRequest(path, *std::move(body), account_);
  if (!request) {
    completion(CallFailure(request.error()));
    return;
  }
  const std::string url = request->url;
  tasks_.send(*std::move(request), [this, url, completion](platform::HttpTransport::Result result) {
    completion(classify(url, std::move(result)));
  });
}

// Only status 200 is a success, and only its body is read.
CallResult APIClient::classify(const std::string& url, platform::HttpTransport::Result result) {
  if (const auto* error = std::get_if<TransportError>(&result)) {
    return CallFailure(PlatformError{PlatformError::transportDomain, error->code});
  }
  const auto& response = std::get<HttpResponse>(result);
  const auto line = [&](std::string_view mark) {
    return "[" + std::string(mark) + "] " + (url.empty() ? "<invalid_url>" : url);
  };
  if (response.status != 200) {
    logger_.log(LogLevel::error, [&] { return line(std::to_string(response.status)); });
    return CallFailure(APIError{APIError::Case::businessError, response.status});
  }
  logger_.log(LogLevel::success, [&] { return line("200 OK"); });
  auto document = support::Document::parse(response.body, support::Fragments::yes);
  if (document) return Answer(*std::move(document));
  return CallFailure(PlatformError{std::string(support::JsonError::domain), support::JsonError::code});
}

}  // namespace sorn::server
