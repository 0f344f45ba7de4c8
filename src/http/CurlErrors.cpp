#include "http/CurlErrors.h"

#include <cerrno>

#include <curl/curl.h>

#include "sorn/platform/HttpTransport.h"

namespace sorn::http {

int transportErrorOf(int curlCode, int systemError) {
  using platform::TransportError;
  switch (curlCode) {
    case CURLE_URL_MALFORMAT:
      return TransportError::badUrl;
    case CURLE_COULDNT_RESOLVE_HOST:
    case CURLE_COULDNT_RESOLVE_PROXY:
      return TransportError::cannotFindHost;
    case CURLE_COULDNT_CONNECT:
      return systemError == ENETUNREACH || systemError == ENETDOWN ? TransportError::offline
                                                                   : TransportError::cannotConnect;
    case CURLE_OPERATION_TIMEDOUT:
      return TransportError::timedOut;
    case CURLE_PARTIAL_FILE:
    case CURLE_GOT_NOTHING:
    case CURLE_SEND_ERROR:
    case CURLE_RECV_ERROR:
    case CURLE_SEND_FAIL_REWIND:
    case CURLE_HTTP2:
    case CURLE_HTTP2_STREAM:
      return TransportError::connectionLost;
    case CURLE_SSL_CONNECT_ERROR:
    case CURLE_PEER_FAILED_VERIFICATION:
    case CURLE_SSL_CACERT_BADFILE:
    case CURLE_SSL_CIPHER:
    case CURLE_SSL_CERTPROBLEM:
    case CURLE_SSL_ISSUER_ERROR:
    case CURLE_USE_SSL_FAILED:
      return TransportError::secureConnectionFailed;
    // The scheme is looked at beforehand, so this is an answer that speaks no HTTP version we accept.
    case CURLE_UNSUPPORTED_PROTOCOL:
    case CURLE_WEIRD_SERVER_REPLY:
    case CURLE_HTTP_RETURNED_ERROR:
      return TransportError::badServerResponse;
    case CURLE_BAD_CONTENT_ENCODING:
      return TransportError::cannotDecodeContent;
    default:
      return TransportError::unknown;
  }
}

}  // namespace sorn::http
