#include "http/UrlOrigin.h"

#include <algorithm>
#include <memory>

#include <curl/curl.h>

#include "http/CurlErrors.h"

namespace sorn::http {

namespace {

using platform::TransportError;

using ParsedUrl = std::unique_ptr<CURLU, void (*)(CURLU*)>;

support::Result<ParsedUrl, TransportError> parse(const std::string& url) {
  ParsedUrl parsed(curl_url(), curl_url_cleanup);
  if (!parsed) return transportFailure(TransportError::unknown);
  const CURLUcode code =
      curl_url_set(parsed.get(), CURLUPART_URL, url.c_str(), CURLU_NON_SUPPORT_SCHEME | CURLU_PATH_AS_IS);
  if (code == CURLUE_BAD_SCHEME) return transportFailure(TransportError::unsupportedUrl);
  if (code != CURLUE_OK) return transportFailure(TransportError::badUrl);
  return parsed;
}

std::string part(const ParsedUrl& parsed, CURLUPart which, unsigned flags) {
  char* text = nullptr;
  if (curl_url_get(parsed.get(), which, &text, flags) != CURLUE_OK || !text) return {};
  std::string result = text;
  curl_free(text);
  return result;
}

std::string lowered(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
  return text;
}

}  // namespace

support::Result<UrlOrigin, TransportError> originOf(const std::string& url) {
  const auto parsed = parse(url);
  if (!parsed) return support::Failure(parsed.error());
  UrlOrigin origin{lowered(part(*parsed, CURLUPART_SCHEME, 0)), lowered(part(*parsed, CURLUPART_HOST, 0)),
                   part(*parsed, CURLUPART_PORT, CURLU_DEFAULT_PORT)};
  if (origin.scheme != "http" && origin.scheme != "https")
    return transportFailure(TransportError::unsupportedUrl);
  if (origin.host.empty()) return transportFailure(TransportError::badUrl);
  return origin;
}

std::optional<std::string> hostWithOwnPort(const std::string& url) {
  const auto parsed = parse(url);
  if (!parsed) return std::nullopt;
  const std::string port = part(*parsed, CURLUPART_PORT, 0);
  const bool isOwn = part(*parsed, CURLUPART_PORT, CURLU_NO_DEFAULT_PORT).empty();
  const std::string host = part(*parsed, CURLUPART_HOST, CURLU_PUNYCODE);
  if (port.empty() || !isOwn || host.empty()) return std::nullopt;
  return host + ":" + port;
}

}  // namespace sorn::http
