#pragma once

#include <optional>
#include <string>

#include "sorn/platform/HttpTransport.h"
#include "support/Result.h"

namespace sorn::http {

// Scheme, host and port: the party that an address belongs to.
struct UrlOrigin {
  std::string scheme;  // lower case
  std::string host;    // lower case
  std::string port;    // decimal, the scheme's own where the address names none

  bool operator==(const UrlOrigin&) const = default;
};

// Reads the origin in the same way as the HTTP client reads the address, so that a comparison can't be misled
// by two opinions about one text. Fails with `unsupportedUrl` for a scheme other than http and https, with
// `badUrl` for what is no address.
support::Result<UrlOrigin, platform::TransportError> originOf(const std::string& url);

// The value of "Host" for an address that names a port although it is its scheme's own; absent for any other.
// A signature covers the port as it is written, but the HTTP client by itself leaves such a one out.
std::optional<std::string> hostWithOwnPort(const std::string& url);

}  // namespace sorn::http
