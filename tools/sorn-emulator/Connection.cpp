#include "sorn-emulator/Connection.h"

#include <algorithm>
#include <chrono>

#include "sorn-emulator/HttpReader.h"

namespace sorn::emulator {

namespace {

using Seconds = std::chrono::duration<double>;

// How the connection goes on after an answer.
enum class After { next, close };

// Answers one request on one channel; knows how the caller wants to go on.
class Writer {
 public:
  Writer(Channel& channel, const HttpRequest& request)
      : channel_(channel), keepAlive_(request.keepAlive), headOnly_(request.method == "HEAD") {}

  After whole(const HttpAnswer& answer) {
    auto text = headOf(answer, answer.body.size(), keepAlive_);
    if (hasBody(answer)) text += answer.body;
    return channel_.write(text) && keepAlive_ ? After::next : After::close;
  }

  After slowly(const HttpAnswer& answer, Seconds time) {
    if (!channel_.write(headOf(answer, answer.body.size(), keepAlive_))) return After::close;
    std::string_view rest = hasBody(answer) ? std::string_view(answer.body) : std::string_view();
    const auto size = std::max<std::size_t>(1, (rest.size() + 9) / 10);
    const auto pieces = (rest.size() + size - 1) / size;
    while (!rest.empty()) {
      const auto pause = time / static_cast<double>(pieces);
      if (!channel_.pause(pause) || !channel_.write(rest.substr(0, size))) return After::close;
      rest.remove_prefix(std::min(size, rest.size()));
    }
    return keepAlive_ ? After::next : After::close;
  }

  After cut(const HttpAnswer& answer, std::optional<bool> framed) {
    const bool packed = std::ranges::any_of(answer.headers, [](const auto& header) {
      return header.first == "Content-Encoding" && header.second == "gzip";
    });
    const bool looksWhole = framed.value_or(packed);
    const auto half = answer.body.size() / 2;
    auto text = headOf(answer, looksWhole ? half : answer.body.size(), looksWhole && keepAlive_);
    if (hasBody(answer)) text.append(answer.body, 0, half);
    return channel_.write(text) && looksWhole && keepAlive_ ? After::next : After::close;
  }

  After garbage(const HttpAnswer& answer, bool raw) {
    if (!raw) return whole(answer);
    using namespace std::string_view_literals;  // which keep the zero byte
    channel_.write("\x15\x03\x01\x00\x02 this is no HTTP answer\r\n\r\n"sv);
    return After::close;
  }

  After hang(Seconds time) {
    constexpr Seconds day{86400};
    channel_.pause(time.count() > 0 ? time : day);
    return After::close;
  }

  After reset() {
    channel_.reset();
    return After::close;
  }

 private:
  bool hasBody(const HttpAnswer& answer) const { return !headOnly_ && mayHaveBody(answer.status); }

  Channel& channel_;
  bool keepAlive_;
  bool headOnly_;
};

After send(Channel& channel, const HttpRequest& request, const Reply& reply) {
  Writer writer(channel, request);
  if (!reply.fault) return writer.whole(reply.answer);
  const Seconds time{reply.fault->seconds};
  switch (reply.fault->kind) {
    case Fault::Kind::status:
      break;
    case Fault::Kind::delay:
      if (!channel.pause(time)) return After::close;
      break;
    case Fault::Kind::slow:
      return writer.slowly(reply.answer, time);
    case Fault::Kind::hang:
      return writer.hang(time);
    case Fault::Kind::cut:
      return writer.cut(reply.answer, reply.fault->framed);
    case Fault::Kind::reset:
      return writer.reset();
    case Fault::Kind::garbage:
      return writer.garbage(reply.answer, reply.fault->raw);
  }
  return writer.whole(reply.answer);
}

}  // namespace

void serveConnection(Channel& channel, const Answerer& answerer) {
  HttpReader reader(channel);
  HttpRequest request;
  for (;;) {
    const auto outcome = reader.next(request);
    if (outcome == HttpReader::Outcome::end) return;
    if (outcome != HttpReader::Outcome::request) {
      const int status = outcome == HttpReader::Outcome::tooLarge ? 413 : 400;
      channel.write(headOf({status, {}, {}}, 0, false));
      return;
    }
    if (send(channel, request, answerer(request)) == After::close) return;
  }
}

}  // namespace sorn::emulator
