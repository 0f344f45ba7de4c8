#include "emulator/RawClient.h"

#include <array>
#include <cerrno>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>
#include <zlib.h>

namespace sorn::emulator::test {

namespace {

void parseHead(std::string_view head, RawAnswer& answer) {
  auto line = head.substr(0, head.find("\r\n"));
  if (!line.starts_with("HTTP/1.1 ")) return;
  answer.status = std::stoi(std::string(line.substr(9, 3)));
  while (line.size() + 2 < head.size()) {
    head.remove_prefix(line.size() + 2);
    line = head.substr(0, head.find("\r\n"));
    const auto colon = line.find(": ");
    if (colon != std::string_view::npos)
      answer.headers[std::string(line.substr(0, colon))] = line.substr(colon + 2);
  }
}

RawAnswer::End endFrom(long result) {
  if (result == 0) return RawAnswer::End::early;
  return result == -1 ? RawAnswer::End::reset : RawAnswer::End::silent;
}

}  // namespace

RawClient::RawClient(int port, std::chrono::milliseconds patience) {
  sockaddr_in place{};
  place.sin_family = AF_INET;
  place.sin_port = htons(static_cast<std::uint16_t>(port));
  inet_pton(AF_INET, "127.0.0.1", &place.sin_addr);
  socket_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  const timeval limit{patience.count() / 1000, patience.count() % 1000 * 1000};
  setsockopt(socket_, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
  if (connect(socket_, reinterpret_cast<const sockaddr*>(&place), sizeof place) != 0) {
    close(socket_);
    socket_ = -1;
  }
}

RawClient::~RawClient() {
  if (socket_ >= 0) close(socket_);
}

bool RawClient::send(std::string_view bytes) {
  while (!bytes.empty()) {
    const auto count = ::send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (count <= 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(count));
  }
  return true;
}

long RawClient::readMore() {
  std::array<char, 65536> piece{};
  const auto count = recv(socket_, piece.data(), piece.size(), 0);
  if (count < 0) return errno == ECONNRESET ? -1 : -2;
  buffer_.append(piece.data(), static_cast<std::size_t>(count));
  return count;
}

RawAnswer RawClient::receive() {
  RawAnswer answer;
  std::size_t headEnd = 0;
  while ((headEnd = buffer_.find("\r\n\r\n")) == std::string::npos) {
    const auto result = readMore();
    if (result <= 0) {
      answer.end = endFrom(result);
      return answer;
    }
  }
  parseHead(std::string_view(buffer_).substr(0, headEnd + 2), answer);
  buffer_.erase(0, headEnd + 4);
  const auto announced = answer.headers.find("Content-Length");
  const auto length = announced == answer.headers.end() ? std::size_t{0} : std::stoul(announced->second);
  answer.end = RawAnswer::End::complete;
  while (buffer_.size() < length && answer.end == RawAnswer::End::complete) {
    const auto result = readMore();
    if (result <= 0) answer.end = endFrom(result);
  }
  answer.body = buffer_.substr(0, length);
  buffer_.erase(0, answer.body.size());
  return answer;
}

bool RawClient::seesEnd() { return readMore() == 0; }

std::string requestText(std::string_view method, std::string_view target, std::string_view body,
                        std::string_view headerLines) {
  std::string text(method);
  text.append(" ").append(target).append(" HTTP/1.1\r\nHost: 127.0.0.1\r\n").append(headerLines);
  return text.append("Content-Length: ").append(std::to_string(body.size())).append("\r\n\r\n").append(body);
}

RawAnswer exchange(int port, std::string_view method, std::string_view target, std::string_view body,
                   std::string_view headerLines) {
  RawClient client(port);
  client.send(requestText(method, target, body, headerLines));
  return client.receive();
}

std::optional<std::string> unpacked(std::string_view gzip) {
  z_stream stream{};
  if (inflateInit2(&stream, 15 + 16) != Z_OK) return std::nullopt;
  std::string text(1 << 20, '\0');
  stream.next_in = reinterpret_cast<unsigned char*>(const_cast<char*>(gzip.data()));
  stream.avail_in = static_cast<unsigned>(gzip.size());
  stream.next_out = reinterpret_cast<unsigned char*>(text.data());
  stream.avail_out = static_cast<unsigned>(text.size());
  const int result = inflate(&stream, Z_FINISH);
  text.resize(stream.total_out);
  inflateEnd(&stream);
  return result == Z_STREAM_END ? std::optional(text) : std::nullopt;
}

}  // namespace sorn::emulator::test
