#pragma once

#include "sorn/platform/HttpTransport.h"
#include "support/Result.h"

namespace sorn::http {

// The code of `platform::TransportError` for libcurl's `curlCode` and the system error that stood behind it
// (0 when there was none).
int transportErrorOf(int curlCode, int systemError);

// For an operation that fails with this code.
inline support::Failure<platform::TransportError> transportFailure(int code) {
  return support::Failure(platform::TransportError{code});
}

}  // namespace sorn::http
