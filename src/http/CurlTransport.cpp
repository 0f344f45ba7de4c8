#include "http/CurlTransport.h"

#include <algorithm>
#include <climits>
#include <csignal>
#include <ctime>
#include <iterator>
#include <optional>

#include <curl/curl.h>
#include <openssl/crypto.h>
#include <pthread.h>

#include "http/CurlTransfer.h"

namespace sorn::http {

namespace {

// A wait is never longer than this, which keeps every sum of times inside its type.
constexpr std::chrono::hours longestWait{1};
constexpr long keptConnections = 16;

// Keeps a SIGPIPE away from the host while libcurl works: OpenSSL writes to sockets that the other side may
// have closed, and the signal's default is to end the process. Changes the calling thread's mask alone.
class SigpipeGuard {
 public:
  SigpipeGuard() {
    sigemptyset(&sigpipe_);
    sigaddset(&sigpipe_, SIGPIPE);
    sigset_t pending;
    sigpending(&pending);
    wasPending_ = sigismember(&pending, SIGPIPE) == 1;
    pthread_sigmask(SIG_BLOCK, &sigpipe_, &before_);
  }
  ~SigpipeGuard() {
    const timespec atOnce{};
    if (!wasPending_) sigtimedwait(&sigpipe_, nullptr, &atOnce);
    pthread_sigmask(SIG_SETMASK, &before_, nullptr);
  }
  SigpipeGuard(const SigpipeGuard&) = delete;
  SigpipeGuard& operator=(const SigpipeGuard&) = delete;

 private:
  sigset_t sigpipe_;
  sigset_t before_;
  bool wasPending_ = false;
};

// OpenSSL's own handler at exit would free what threads of this library may still use.
void initialiseOnce() {
  static std::once_flag once;
  std::call_once(once, [] {
    OPENSSL_init_crypto(OPENSSL_INIT_NO_ATEXIT, nullptr);
    curl_global_init(CURL_GLOBAL_DEFAULT);
  });
}

}  // namespace

// libcurl's multi handle and the cookies that all requests share.
class CurlTransport::Session {
 public:
  Session() : multi_(curl_multi_init()), cookies_(curl_share_init()) {
    curl_share_setopt(cookies_, CURLSHOPT_SHARE, CURL_LOCK_DATA_COOKIE);
    curl_multi_setopt(multi_, CURLMOPT_MAXCONNECTS, keptConnections);
  }
  ~Session() {
    curl_multi_cleanup(multi_);
    curl_share_cleanup(cookies_);
  }
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  CURLM* multi() const { return multi_; }
  CURLSH* cookies() const { return cookies_; }

 private:
  CURLM* const multi_;
  CURLSH* const cookies_;
};

CurlTransport::CurlTransport() = default;

CurlTransport::~CurlTransport() {
  if (!session_) return;
  const SigpipeGuard guard;
  // Completions do not run: who destroys the transport no longer waits for answers.
  for (const auto& [id, request] : running_) {
    if (request.transfer->handle()) curl_multi_remove_handle(session_->multi(), request.transfer->handle());
  }
  running_.clear();
  session_.reset();
}

CurlTransport::Session& CurlTransport::session() {
  if (session_) return *session_;
  initialiseOnce();
  auto made = std::make_unique<Session>();
  const std::lock_guard lock(wakeMutex_);
  if (isWoken_) curl_multi_wakeup(made->multi());
  session_ = std::move(made);
  return *session_;
}

CurlTransport::RequestId CurlTransport::send(platform::HttpRequest request, Completion completion) {
  const RequestId id = ++lastId_;
  Session& session = this->session();
  auto transfer = std::make_unique<CurlTransfer>(std::move(request), session.cookies());
  if (const auto ready = transfer->prepare(); !ready) {
    // Told at the next wait like every other outcome, never inside this call.
    ended_.emplace_back(std::move(completion), ready.error());
    return id;
  }
  curl_multi_add_handle(session.multi(), transfer->handle());
  running_.emplace(id, Running{std::move(transfer), std::move(completion)});
  return id;
}

void CurlTransport::cancel(RequestId request) {
  const auto found = running_.find(request);
  if (found == running_.end()) return;
  const SigpipeGuard guard;
  finish(found, platform::TransportError{platform::TransportError::cancelled});
}

void CurlTransport::finish(RunningRequests::iterator request, Result result) {
  // libcurl is told first: it must not call into a transfer that is gone.
  curl_multi_remove_handle(session_->multi(), request->second.transfer->handle());
  ended_.emplace_back(std::move(request->second.completion), std::move(result));
  running_.erase(request);
}

void CurlTransport::wait(std::chrono::duration<double> longest) {
  if (!session_) return sleepWithoutSession(longest);
  {
    const SigpipeGuard guard;
    moveOn();
    curl_multi_poll(session_->multi(), nullptr, 0, pollMilliseconds(longest), nullptr);
    {
      // Whoever calls `wakeUp` before this point is heard when this wait returns.
      const std::lock_guard lock(wakeMutex_);
      isWoken_ = false;
    }
    moveOn();
  }
  runCompletions();
}

void CurlTransport::sleepWithoutSession(std::chrono::duration<double> longest) {
  const auto bounded =
      std::clamp<std::chrono::duration<double>>(longest, std::chrono::seconds(0), longestWait);
  std::unique_lock lock(wakeMutex_);
  wakeCondition_.wait_for(lock, bounded, [this] { return isWoken_; });
  isWoken_ = false;
}

void CurlTransport::wakeUp() {
  const std::lock_guard lock(wakeMutex_);
  if (isWoken_) return;
  isWoken_ = true;
  if (session_) {
    curl_multi_wakeup(session_->multi());
  } else {
    wakeCondition_.notify_one();
  }
}

// Not beyond the next moment at which a request has been silent for too long.
int CurlTransport::pollMilliseconds(std::chrono::duration<double> longest) const {
  if (!ended_.empty()) return 0;
  auto bounded = std::clamp<std::chrono::duration<double>>(longest, std::chrono::seconds(0), longestWait);
  const CurlTransfer::Clock::time_point now = CurlTransfer::Clock::now();
  for (const auto& [id, request] : running_) {
    bounded = std::min<std::chrono::duration<double>>(bounded, request.transfer->deadline() - now);
  }
  return std::max(0, static_cast<int>(std::chrono::ceil<std::chrono::milliseconds>(bounded).count()));
}

void CurlTransport::moveOn() {
  int stillRunning = 0;
  curl_multi_perform(session_->multi(), &stillRunning);
  collectEnded();
  endSilent();
}

void CurlTransport::collectEnded() {
  int left = 0;
  while (const CURLMsg* message = curl_multi_info_read(session_->multi(), &left)) {
    if (message->msg != CURLMSG_DONE) continue;
    CURL* const handle = message->easy_handle;
    const CURLcode code = message->data.result;
    const auto found = std::ranges::find_if(
        running_, [handle](const auto& entry) { return entry.second.transfer->handle() == handle; });
    if (found == running_.end()) continue;
    std::optional<Result> result = found->second.transfer->ended(code);
    if (result) {
      finish(found, std::move(*result));
    } else {
      // Off to the place that the answer named. The message is invalid from here on.
      curl_multi_remove_handle(session_->multi(), handle);
      curl_multi_add_handle(session_->multi(), handle);
    }
  }
}

void CurlTransport::endSilent() {
  const CurlTransfer::Clock::time_point now = CurlTransfer::Clock::now();
  for (auto request = running_.begin(); request != running_.end();) {
    const auto next = std::next(request);
    if (request->second.transfer->deadline() <= now) {
      finish(request, platform::TransportError{platform::TransportError::timedOut});
    }
    request = next;
  }
}

// Only those that have ended by now: a completion may send and cancel, which adds to the list.
void CurlTransport::runCompletions() {
  for (std::size_t count = ended_.size(); count > 0; --count) {
    auto [completion, result] = std::move(ended_.front());
    ended_.pop_front();
    completion(std::move(result));
  }
}

}  // namespace sorn::http
