#pragma once

#include <string>
#include <string_view>

#include "server/APIError.h"
#include "sorn/platform/HttpTransport.h"
#include "support/Account.h"
#include "support/Result.h"
#include "support/Url.h"

namespace sorn::server {

// Longest silence of the service before a call is given up.
inline constexpr std::chrono::duration<double> serviceTimeout{30.0};

// The value of the "Authorization" header: the application key, "=", and the Base64 text of HMAC-SHA256 with
// the application secret over host, port, path and body, joined with nothing between them. The port stands as
// ":" and its digits when it is from 1 to 9998; a larger one is not signed.
support::Result<std::string, APIError> signatureOf(const support::Url& url, const platform::HttpBody& body,
                                                   const support::Account& account);

// A POST of the body to the path below the account's base URL, signed. A fault when there is no usable base
// URL: nothing is sent before a successful start.
support::Result<platform::HttpRequest, APIError> signedRequest(std::string_view path, platform::HttpBody body,
                                                               const support::Account& account);

}  // namespace sorn::server
