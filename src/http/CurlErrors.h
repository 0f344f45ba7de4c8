#pragma once

namespace sorn::http {

// The code of `platform::TransportError` for libcurl's `curlCode` and the system error that stood behind it
// (0 when there was none).
int transportErrorOf(int curlCode, int systemError);

}  // namespace sorn::http
