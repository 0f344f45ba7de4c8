#include "server/SignedRequest.h"

#include <string>

#include "support/Base64.h"
#include "support/Cipher.h"
#include "support/Fault.h"

namespace sorn::server {

namespace {

// Ports from here on are left out of what is signed, although they stay in the address.
constexpr int firstUnsignedPort = 9999;

}  // namespace

support::Result<std::string, APIError> signatureOf(const support::Url& url, const platform::HttpBody& body,
                                                   const support::Account& account) {
  const auto credentials = account.credentials();
  if (!credentials) return support::Failure(APIError{APIError::Case::missingApplicationKey});
  const auto host = url.host();
  if (!host || host->empty()) return support::Failure(APIError{APIError::Case::invalidHost});
  std::string prefix(*host);
  if (const auto port = url.port(); port && *port >= 1 && *port < firstUnsignedPort) {
    prefix += ":" + std::to_string(*port);
  }
  prefix += url.path();
  support::HmacSha256 hash(credentials->applicationSecret);
  hash.update(prefix);
  for (const std::string& piece : body.pieces) hash.update(piece);
  return credentials->applicationKey + "=" + support::base64Encode(support::bytesOf(hash.finish()));
}

support::Result<platform::HttpRequest, APIError> signedRequest(std::string_view path, platform::HttpBody body,
                                                               const support::Account& account) {
  const auto credentials = account.credentials();
  if (!credentials) support::fault("a base URL before a request is built");
  const auto base = support::Url::parse(credentials->baseURL);
  if (!base) support::fault("a base URL that is one");
  const support::Url url = base->appendPathComponent(path);
  auto signature = signatureOf(url, body, account);
  if (!signature) return support::Failure(signature.error());
  platform::HttpRequest request;
  request.method = "POST";
  request.url = url.text();
  request.idleTimeout = serviceTimeout;
  request.staysOnOrigin = true;
  request.readsOnlySuccess = true;
  request.headers = {{"Content-Length", std::to_string(body.size())},
                     {"Content-Type", "application/json"},
                     {"Authorization", *std::move(signature)}};
  request.body = std::move(body);
  return request;
}

}  // namespace sorn::server
