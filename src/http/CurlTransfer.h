#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "http/StreamInflate.h"
#include "http/UrlOrigin.h"
#include "sorn/platform/HttpTransport.h"

struct curl_slist;

namespace sorn::http {

// One request on its way through libcurl: what goes out, what has come back so far, and what its end means.
// libcurl's handles appear as `void*`, which is what they are, so that its header stays out of this one.
class CurlTransfer {
 public:
  using Clock = std::chrono::steady_clock;
  using Result = platform::HttpTransport::Result;

  // `cookies` is the share handle that keeps the cookies of all transfers.
  CurlTransfer(platform::HttpRequest request, void* cookies);
  ~CurlTransfer();
  CurlTransfer(const CurlTransfer&) = delete;
  CurlTransfer& operator=(const CurlTransfer&) = delete;

  // Makes the handle ready. A request that can't be sent says why, and has no handle to run.
  support::Result<void, platform::TransportError> prepare();
  void* handle() const { return handle_; }

  // When the transfer has been silent for too long, unless a byte moves before.
  Clock::time_point deadline() const { return deadline_; }

  // Called when libcurl has ended the transfer with this code. Absent when a redirect is to be followed: the
  // handle is ready for its next run.
  std::optional<Result> ended(int curlCode);

 private:
  struct Callbacks;

  support::Result<void, platform::TransportError> prepareTarget();
  void prepareLimits();
  void prepareBody();
  bool prepareHeaders();
  std::optional<Result> followRedirect(const std::string& target);
  int errorOf(int curlCode) const;
  bool bodyIsWhole() const;
  int status() const;
  bool readsBody() const { return !request_.readsOnlySuccess || status() == 200; }
  bool isDecided() const;

  void moved();
  bool receiveHeader(std::string_view line);
  bool receiveBody(std::string_view piece);
  void chooseDecoder();
  std::size_t readBody(char* buffer, std::size_t size);
  bool seekBody(std::uint64_t offset);
  void noteProgress(std::int64_t received, std::int64_t sent);

  platform::HttpRequest request_;
  void* const cookies_;
  void* handle_ = nullptr;
  curl_slist* headers_ = nullptr;
  UrlOrigin origin_;
  Clock::time_point deadline_;
  std::int64_t progress_ = 0;
  int redirects_ = 0;

  std::size_t sentPiece_ = 0;   // piece of the body that goes out next
  std::size_t sentOffset_ = 0;  // and the place in it

  platform::HttpResponse response_;
  std::size_t headerBytes_ = 0;
  bool headIsWhole_ = false;
  std::size_t leftOutBytes_ = 0;  // of a body that nobody reads
  bool decoderIsChosen_ = false;
  std::unique_ptr<StreamInflate> decoder_;
  std::optional<int> failure_;  // why a callback stopped the transfer
};

}  // namespace sorn::http
