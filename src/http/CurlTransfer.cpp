#include "http/CurlTransfer.h"

#include <algorithm>
#include <utility>

#include <curl/curl.h>

#include "http/CurlErrors.h"
#include "http/HttpFields.h"

namespace sorn::http {

using platform::TransportError;

namespace {

// The longest body that is kept, after decoding; a longer one is `dataTooLarge`.
constexpr std::size_t longestBody = std::size_t{64} << 20;
// What is taken off the wire of a body that nobody reads, so that its connection can be kept.
constexpr std::size_t longestLeftOut = std::size_t{1} << 20;
// All header lines of one answer together.
constexpr std::size_t longestHeaders = std::size_t{256} << 10;
constexpr int mostRedirects = 20;
// An address that does not answer is given up after this time, or after the idle time-out if that is shorter.
constexpr std::chrono::seconds longestConnect{30};
// Longer time-outs count as this one, which keeps the deadline inside the clock's range.
constexpr std::chrono::duration<double> longestIdle = std::chrono::hours(24 * 7);

CurlTransfer& self(void* pointer) { return *static_cast<CurlTransfer*>(pointer); }

}  // namespace

struct CurlTransfer::Callbacks {
  static std::size_t header(char* bytes, std::size_t size, std::size_t count, void* transfer) {
    return self(transfer).receiveHeader({bytes, size * count}) ? size * count : CURL_WRITEFUNC_ERROR;
  }
  static std::size_t write(char* bytes, std::size_t size, std::size_t count, void* transfer) {
    return self(transfer).receiveBody({bytes, size * count}) ? size * count : CURL_WRITEFUNC_ERROR;
  }
  static std::size_t read(char* buffer, std::size_t size, std::size_t count, void* transfer) {
    return self(transfer).readBody(buffer, size * count);
  }
  static int seek(void* transfer, curl_off_t offset, int origin) {
    if (origin != SEEK_SET || offset < 0) return CURL_SEEKFUNC_CANTSEEK;
    return self(transfer).seekBody(static_cast<std::uint64_t>(offset)) ? CURL_SEEKFUNC_OK
                                                                       : CURL_SEEKFUNC_FAIL;
  }
  static int progress(void* transfer, curl_off_t, curl_off_t received, curl_off_t, curl_off_t sent) {
    self(transfer).noteProgress(received, sent);
    return 0;
  }
  // The connection stands: what it took does not count as the answer's silence.
  static int connected(void* transfer, char*, char*, int, int) {
    self(transfer).moved();
    return CURL_PREREQFUNC_OK;
  }
};

CurlTransfer::CurlTransfer(platform::HttpRequest request, void* cookies)
    : request_(std::move(request)), cookies_(cookies) {}

CurlTransfer::~CurlTransfer() {
  if (handle_) curl_easy_cleanup(handle_);
  curl_slist_free_all(headers_);
}

support::Result<void, TransportError> CurlTransfer::prepare() {
  handle_ = curl_easy_init();
  if (!handle_) return transportFailure(TransportError::unknown);
  curl_easy_setopt(handle_, CURLOPT_PRIVATE, static_cast<void*>(this));
  curl_easy_setopt(handle_, CURLOPT_HEADERFUNCTION, &Callbacks::header);
  curl_easy_setopt(handle_, CURLOPT_HEADERDATA, static_cast<void*>(this));
  curl_easy_setopt(handle_, CURLOPT_WRITEFUNCTION, &Callbacks::write);
  curl_easy_setopt(handle_, CURLOPT_WRITEDATA, static_cast<void*>(this));
  curl_easy_setopt(handle_, CURLOPT_READFUNCTION, &Callbacks::read);
  curl_easy_setopt(handle_, CURLOPT_READDATA, static_cast<void*>(this));
  curl_easy_setopt(handle_, CURLOPT_SEEKFUNCTION, &Callbacks::seek);
  curl_easy_setopt(handle_, CURLOPT_SEEKDATA, static_cast<void*>(this));
  curl_easy_setopt(handle_, CURLOPT_XFERINFOFUNCTION, &Callbacks::progress);
  curl_easy_setopt(handle_, CURLOPT_XFERINFODATA, static_cast<void*>(this));
  curl_easy_setopt(handle_, CURLOPT_NOPROGRESS, 0L);
  curl_easy_setopt(handle_, CURLOPT_PREREQFUNCTION, &Callbacks::connected);
  curl_easy_setopt(handle_, CURLOPT_PREREQDATA, static_cast<void*>(this));
  prepareLimits();
  return prepareTarget();
}

void CurlTransfer::prepareLimits() {
  const auto connect = std::min<std::chrono::duration<double>>(request_.idleTimeout, longestConnect);
  const auto milliseconds = std::chrono::ceil<std::chrono::milliseconds>(connect).count();
  curl_easy_setopt(handle_, CURLOPT_CONNECTTIMEOUT_MS,
                   static_cast<long>(std::max<std::int64_t>(1, milliseconds)));
  curl_easy_setopt(handle_, CURLOPT_PROTOCOLS_STR, "http,https");
  // Redirects are followed here, since where a signed request may go is not libcurl's to decide.
  curl_easy_setopt(handle_, CURLOPT_FOLLOWLOCATION, 0L);
  curl_easy_setopt(handle_, CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_2TLS));
  curl_easy_setopt(handle_, CURLOPT_PATH_AS_IS, 1L);
  curl_easy_setopt(handle_, CURLOPT_SSL_VERIFYPEER, 1L);
  curl_easy_setopt(handle_, CURLOPT_SSL_VERIFYHOST, 2L);
  curl_easy_setopt(handle_, CURLOPT_COOKIEFILE, "");
  curl_easy_setopt(handle_, CURLOPT_SHARE, cookies_);
  curl_easy_setopt(handle_, CURLOPT_NOSIGNAL, 1L);
  // Cancelling must not wait for a name server: the resolver's thread is left to end by itself.
  curl_easy_setopt(handle_, CURLOPT_QUICK_EXIT, 1L);
}

support::Result<void, TransportError> CurlTransfer::prepareTarget() {
  auto origin = originOf(request_.url);
  if (!origin) return support::Failure(origin.error());
  origin_ = *std::move(origin);
  // Reserved never to exist (RFC 6761): no name server needs to be asked.
  if (origin_.host.ends_with(".invalid")) return transportFailure(TransportError::cannotFindHost);
  if (!prepareHeaders()) return transportFailure(TransportError::badUrl);
  curl_easy_setopt(handle_, CURLOPT_URL, request_.url.c_str());
  // A proxy that the environment names can't reach this machine's own servers.
  curl_easy_setopt(handle_, CURLOPT_PROXY, isLoopback(origin_.host) ? "" : static_cast<const char*>(nullptr));
  prepareBody();
  response_ = {};
  headerBytes_ = 0;
  headIsWhole_ = false;
  leftOutBytes_ = 0;
  decoderIsChosen_ = false;
  decoder_.reset();
  progress_ = 0;
  moved();
  return {};
}

void CurlTransfer::prepareBody() {
  seekBody(0);
  if (request_.method != "POST") {
    curl_easy_setopt(handle_, CURLOPT_HTTPGET, 1L);
    return;
  }
  curl_easy_setopt(handle_, CURLOPT_POST, 1L);
  curl_easy_setopt(handle_, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(request_.body.size()));
}

bool CurlTransfer::prepareHeaders() {
  curl_slist_free_all(std::exchange(headers_, nullptr));
  // A name without a value takes libcurl's own field out.
  std::vector<std::string> lines{"Accept-Encoding: gzip, deflate", "Expect:"};
  if (const auto host = hostWithOwnPort(request_.url)) lines.push_back("Host: " + *host);
  bool hasContentType = false;
  for (const auto& [name, value] : request_.headers) {
    if (!isSafeField(name, value)) return false;
    if (isReservedField(name)) continue;
    hasContentType = hasContentType || sameName(name, "Content-Type");
    // With a semicolon libcurl sends the name without a value.
    std::string& line = lines.emplace_back(name);
    line.append(trimmedField(value).empty() ? ";" : ": ").append(trimmedField(value));
  }
  if (!hasContentType) lines.emplace_back("Content-Type:");
  for (const std::string& line : lines) headers_ = curl_slist_append(headers_, line.c_str());
  curl_easy_setopt(handle_, CURLOPT_HTTPHEADER, headers_);
  return true;
}

std::optional<CurlTransfer::Result> CurlTransfer::ended(int curlCode) {
  if (failure_) return TransportError{*failure_};
  if (curlCode != CURLE_OK && !isDecided()) return TransportError{errorOf(curlCode)};
  // An end within the header is no error to libcurl.
  if (!headIsWhole_) return TransportError{TransportError::connectionLost};
  response_.status = status();
  char* target = nullptr;
  curl_easy_getinfo(handle_, CURLINFO_REDIRECT_URL, &target);
  if (target && isRedirect(response_.status)) return followRedirect(target);
  if (!bodyIsWhole()) return TransportError{TransportError::connectionLost};
  return std::move(response_);
}

// 301 and 302 turn a POST into a GET as every browser does, 303 asks for that, 307 and 308 forbid it.
std::optional<CurlTransfer::Result> CurlTransfer::followRedirect(const std::string& target) {
  const auto next = originOf(target);
  const bool leaves = !next || *next != origin_;
  // The signature covers the address, so elsewhere the request would be refused, and whoever is there would
  // hold a signed call: the caller gets the redirect itself.
  if (leaves && request_.staysOnOrigin) return std::move(response_);
  if (!next) return next.error();
  if (++redirects_ > mostRedirects) return TransportError{TransportError::tooManyRedirects};
  const auto drop = [this](auto&& unwanted) {
    std::erase_if(request_.headers,
                  [&](const auto& field) { return unwanted(std::string_view(field.first)); });
  };
  if (response_.status <= 303 && request_.method == "POST") {
    request_.method = "GET";
    request_.body.pieces.clear();
    drop([](std::string_view name) { return sameName(name.substr(0, 8), "Content-"); });
  }
  // Credentials are meant for the party that they were given to.
  if (leaves) {
    drop([](std::string_view name) { return sameName(name, "Authorization") || sameName(name, "Cookie"); });
  }
  request_.url = target;
  // The handle is used again, since it keeps the connection; all that hangs on the address is set anew.
  if (const auto ready = prepareTarget(); !ready) return ready.error();
  return std::nullopt;
}

int CurlTransfer::errorOf(int curlCode) const {
  long systemError = 0;
  curl_easy_getinfo(handle_, CURLINFO_OS_ERRNO, &systemError);
  return transportErrorOf(curlCode, static_cast<int>(systemError));
}

int CurlTransfer::status() const {
  long status = 0;
  curl_easy_getinfo(handle_, CURLINFO_RESPONSE_CODE, &status);
  return static_cast<int>(status);
}

// Whether the answer stands, however its body ends: nobody reads that, and it sends the client nowhere else.
bool CurlTransfer::isDecided() const {
  return headIsWhole_ && status() >= 200 && !readsBody() && !isRedirect(status());
}

// libcurl itself notices a body that is shorter than announced, but not one whose unpacked content stops
// short.
bool CurlTransfer::bodyIsWhole() const {
  if (!readsBody()) return true;
  if (decoder_) return decoder_->isWhole();
  const std::optional<std::string> encoding = response_.header("Content-Encoding");
  const bool mustHaveBody = response_.status / 100 == 2 && response_.status != 204;
  if (!encoding || decoderIsChosen_ || !mustHaveBody) return true;
  // Without a first byte there was no decoder that could have missed its end.
  return !sameName(trimmedField(*encoding), "gzip") || response_.header("Content-Length") == "0";
}

// libcurl's own limits count the whole transfer or a mean speed; what matters here is silence. Each byte in
// either direction moves the deadline, which the transport looks at whenever it wakes.
void CurlTransfer::moved() {
  const auto idle = std::clamp(request_.idleTimeout, std::chrono::duration<double>::zero(), longestIdle);
  deadline_ = Clock::now() + std::chrono::ceil<Clock::duration>(idle);
}

bool CurlTransfer::receiveHeader(std::string_view line) {
  moved();
  headerBytes_ += line.size();
  if (headerBytes_ > longestHeaders) {
    failure_ = TransportError::badServerResponse;
    return false;
  }
  // Each answer begins with a status line: those before the last one were interim (RFC 9110, 15.2).
  if (line.starts_with("HTTP/")) {
    response_.headers.clear();
    headIsWhole_ = false;
    return true;
  }
  headIsWhole_ = headIsWhole_ || line == "\r\n" || line == "\n";
  const std::size_t colon = line.find(':');
  if (colon == std::string_view::npos) return true;
  response_.headers.emplace_back(trimmedField(line.substr(0, colon)), trimmedField(line.substr(colon + 1)));
  return true;
}

// Content codings that were not asked for stay as they are: some stores label plain bodies with names of
// theirs.
void CurlTransfer::chooseDecoder() {
  decoderIsChosen_ = true;
  const std::optional<std::string> header = response_.header("Content-Encoding");
  if (!header) return;
  const std::string_view codings = *header;
  // The coding that was applied last stands last.
  const std::size_t comma = codings.rfind(',');
  const std::string_view last =
      trimmedField(comma == std::string_view::npos ? codings : codings.substr(comma + 1));
  if (sameName(last, "gzip") || sameName(last, "x-gzip")) {
    decoder_ = std::make_unique<StreamInflate>(StreamInflate::Format::gzip);
  } else if (sameName(last, "deflate")) {
    decoder_ = std::make_unique<StreamInflate>(StreamInflate::Format::deflate);
  }
}

bool CurlTransfer::receiveBody(std::string_view piece) {
  moved();
  if (!readsBody()) return (leftOutBytes_ += piece.size()) <= longestLeftOut;
  if (!decoderIsChosen_) chooseDecoder();
  if (decoder_) {
    const auto unpacked = decoder_->append(piece, response_.body, longestBody);
    if (!unpacked) failure_ = unpacked.error().code;
    return static_cast<bool>(unpacked);
  }
  if (piece.size() > longestBody - response_.body.size()) {
    failure_ = TransportError::dataTooLarge;
    return false;
  }
  response_.body.append(piece);
  return true;
}

std::size_t CurlTransfer::readBody(char* buffer, std::size_t size) {
  std::size_t filled = 0;
  while (filled < size && sentPiece_ < request_.body.pieces.size()) {
    const std::string& piece = request_.body.pieces[sentPiece_];
    const std::size_t count = piece.copy(buffer + filled, size - filled, sentOffset_);
    filled += count;
    sentOffset_ += count;
    if (sentOffset_ < piece.size()) break;
    ++sentPiece_;
    sentOffset_ = 0;
  }
  return filled;
}

// libcurl goes back to the beginning when a connection that it had kept turns out to be dead.
bool CurlTransfer::seekBody(std::uint64_t offset) {
  sentPiece_ = 0;
  sentOffset_ = 0;
  for (const std::string& piece : request_.body.pieces) {
    if (offset < piece.size()) break;
    offset -= piece.size();
    ++sentPiece_;
  }
  if (sentPiece_ < request_.body.pieces.size()) sentOffset_ = static_cast<std::size_t>(offset);
  return sentPiece_ < request_.body.pieces.size() || offset == 0;
}

void CurlTransfer::noteProgress(std::int64_t received, std::int64_t sent) {
  if (received + sent == progress_) return;
  progress_ = received + sent;
  moved();
}

}  // namespace sorn::http
