#include "sorn-emulator/HttpReader.h"

#include <algorithm>
#include <charconv>

#include "sorn-emulator/Encoding.h"

namespace sorn::emulator {

namespace {

std::string_view trimmed(std::string_view text) {
  while (!text.empty() && (text.front() == ' ' || text.front() == '\t')) text.remove_prefix(1);
  while (!text.empty() && (text.back() == ' ' || text.back() == '\t')) text.remove_suffix(1);
  return text;
}

std::optional<std::size_t> number(std::string_view digits, int base) {
  std::size_t value = 0;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value, base);
  if (error != std::errc() || end != digits.data() + digits.size()) return std::nullopt;
  return value;
}

bool parseRequestLine(std::string_view line, HttpRequest& request) {
  const auto first = line.find(' ');
  const auto last = line.rfind(' ');
  if (first == std::string_view::npos || last == first) return false;
  const auto version = line.substr(last + 1);
  const auto target = line.substr(first + 1, last - first - 1);
  if (!version.starts_with("HTTP/1.") || !target.starts_with('/')) return false;
  const auto mark = target.find('?');
  request.method = line.substr(0, first);
  request.path = target.substr(0, mark);
  request.query = mark == std::string_view::npos ? std::string_view{} : target.substr(mark + 1);
  request.keepAlive = version != "HTTP/1.0";
  return true;
}

bool parseHeader(std::string_view line, HttpRequest& request) {
  const auto colon = line.find(':');
  if (colon == std::string_view::npos || colon == 0) return false;
  request.headers.emplace_back(line.substr(0, colon), trimmed(line.substr(colon + 1)));
  return true;
}

// Whether a list of words between commas has this one.
bool holdsWord(std::string_view list, std::string_view word) {
  while (!list.empty()) {
    const auto item = list.substr(0, list.find(','));
    if (sameName(trimmed(item), word)) return true;
    list.remove_prefix(std::min(list.size(), item.size() + 1));
  }
  return false;
}

// Whether the body's length is announced twice and differently: nobody can tell where such a request ends.
bool lengthIsInDoubt(const HttpRequest& request) {
  const auto* announced = request.header("Content-Length");
  return std::ranges::any_of(request.headers, [&](const auto& header) {
    return sameName(header.first, "Content-Length") && header.second != *announced;
  });
}

}  // namespace

HttpReader::HttpReader(Channel& channel) : channel_(channel) {}

bool HttpReader::fill() {
  constexpr std::size_t piece = std::size_t{64} << 10;
  const auto held = buffer_.size();
  buffer_.resize(held + piece);
  const auto count = channel_.read(buffer_.data() + held, piece);
  buffer_.resize(held + count);
  return count > 0;
}

std::optional<std::string> HttpReader::readLine() {
  for (;;) {
    const auto end = buffer_.find("\r\n");
    if (end != std::string::npos) {
      auto line = buffer_.substr(0, end);
      buffer_.erase(0, end + 2);
      return line;
    }
    if (buffer_.size() > longestHead || !fill()) return std::nullopt;
  }
}

HttpReader::Outcome HttpReader::next(HttpRequest& request) {
  request = {};
  auto outcome = readHead(request);
  if (outcome == Outcome::request) outcome = readBody(request);
  request.at = now();
  return outcome;
}

HttpReader::Outcome HttpReader::readHead(HttpRequest& request) {
  auto line = readLine();
  if (!line) return buffer_.size() > longestHead ? Outcome::tooLarge : Outcome::end;
  if (!parseRequestLine(*line, request)) return Outcome::malformed;
  std::size_t size = line->size();
  for (line = readLine(); line && !line->empty(); line = readLine()) {
    size += line->size();
    if (size > longestHead) return Outcome::tooLarge;
    if (!parseHeader(*line, request)) return Outcome::malformed;
  }
  if (!line) return buffer_.size() > longestHead ? Outcome::tooLarge : Outcome::end;
  if (const auto* connection = request.header("Connection"); connection && holdsWord(*connection, "close")) {
    request.keepAlive = false;
  }
  return Outcome::request;
}

HttpReader::Outcome HttpReader::readBody(HttpRequest& request) {
  const auto* coding = request.header("Transfer-Encoding");
  const auto* announced = request.header("Content-Length");
  if (!coding && !announced) return Outcome::request;
  const auto length = announced ? number(*announced, 10) : std::size_t{0};
  if (!length || lengthIsInDoubt(request)) return Outcome::malformed;
  if (*length > longestBody) return Outcome::tooLarge;
  // A caller that asks first sends its body only when told to go on (RFC 9110, section 10.1.1).
  if (request.header("Expect") && !channel_.write("HTTP/1.1 100 Continue\r\n\r\n")) return Outcome::end;
  return coding ? readChunks(request.body) : readExactly(*length, request.body);
}

HttpReader::Outcome HttpReader::readExactly(std::size_t length, std::string& body) {
  body.reserve(body.size() + length);
  while (length > 0) {
    if (buffer_.empty() && !fill()) return Outcome::end;
    const auto count = std::min(length, buffer_.size());
    body.append(buffer_, 0, count);
    buffer_.erase(0, count);
    length -= count;
  }
  return Outcome::request;
}

HttpReader::Outcome HttpReader::readChunks(std::string& body) {
  for (;;) {
    const auto line = readLine();
    if (!line) return Outcome::end;
    const auto length = number(std::string_view(*line).substr(0, line->find(';')), 16);
    if (!length) return Outcome::malformed;
    if (*length > longestBody - body.size()) return Outcome::tooLarge;
    if (const auto outcome = readExactly(*length, body); outcome != Outcome::request) return outcome;
    // An empty line ends a chunk; the last one's may have trailers before it, which nobody needs.
    for (auto rest = readLine(); !rest || !rest->empty(); rest = readLine()) {
      if (!rest) return Outcome::end;
      if (*length > 0) return Outcome::malformed;
    }
    if (*length == 0) return Outcome::request;
  }
}

}  // namespace sorn::emulator
