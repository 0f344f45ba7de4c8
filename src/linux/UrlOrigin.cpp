#include "linux/UrlOrigin.h"

#include <algorithm>
#include <memory>

#include <curl/curl.h>

#include "sorn/platform/HttpTransport.h"

namespace sorn::headless {

namespace {

std::string part(CURLU* parsed, CURLUPart which) {
  char* text = nullptr;
  if (curl_url_get(parsed, which, &text, CURLU_DEFAULT_PORT) != CURLUE_OK || !text) return {};
  std::string result = text;
  curl_free(text);
  std::transform(result.begin(), result.end(), result.begin(),
                 [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
  return result;
}

}  // namespace

std::variant<UrlOrigin, int> originOf(const std::string& url) {
  const std::unique_ptr<CURLU, void (*)(CURLU*)> parsed(curl_url(), curl_url_cleanup);
  if (!parsed) return platform::TransportError::unknown;
  const CURLUcode code =
      curl_url_set(parsed.get(), CURLUPART_URL, url.c_str(), CURLU_NON_SUPPORT_SCHEME | CURLU_PATH_AS_IS);
  if (code == CURLUE_BAD_SCHEME) return platform::TransportError::unsupportedUrl;
  if (code != CURLUE_OK) return platform::TransportError::badUrl;
  UrlOrigin origin{part(parsed.get(), CURLUPART_SCHEME), part(parsed.get(), CURLUPART_HOST),
                   part(parsed.get(), CURLUPART_PORT)};
  if (origin.scheme != "http" && origin.scheme != "https") return platform::TransportError::unsupportedUrl;
  if (origin.host.empty()) return platform::TransportError::badUrl;
  return origin;
}

}  // namespace sorn::headless
