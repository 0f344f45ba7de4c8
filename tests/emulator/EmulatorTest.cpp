// What the emulator shows to the process that it is a part of, and to no caller over HTTP.

#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include "sorn-emulator/Connection.h"
#include "sorn-emulator/Emulator.h"
#include "sorn-emulator/Listener.h"

namespace sorn::emulator::test {
namespace {

using namespace std::chrono_literals;

// The first bytes of the answer to a request; none when there is no connection.
std::string answerTo(const std::string& target, int port) {
  Descriptor socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  sockaddr_in place{};
  place.sin_family = AF_INET;
  place.sin_port = htons(static_cast<std::uint16_t>(port));
  place.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  if (connect(socket.number(), reinterpret_cast<const sockaddr*>(&place), sizeof place) != 0) return {};
  Channel channel(std::move(socket), -1);
  channel.write("GET " + target + " HTTP/1.1\r\n\r\n");
  std::string answer(12, '\0');
  answer.resize(channel.read(answer.data(), answer.size()));
  return answer;
}

TEST(Listening, ErrorInOneConnectionEndsThatWithStatus500AndNoOther) {
  Listener listener("127.0.0.1", 0, [](Channel& channel) {
    serveConnection(channel, [](HttpRequest& request) -> Reply {
      if (request.path == "/bad") throw std::runtime_error("what nobody foresaw");
      return {jsonAnswer(200, "{}"), std::nullopt};
    });
  });
  EXPECT_EQ(answerTo("/bad", listener.port()), "HTTP/1.1 500");
  EXPECT_EQ(answerTo("/good", listener.port()), "HTTP/1.1 200");
}

TEST(Emulator, WaitsForWhatComesAndCanBeStoppedAndStartedTwice) {
  Emulator emulator({});
  answerTo("/a", emulator.port());
  EXPECT_TRUE(emulator.waitForRequests(1, 10s, "/a"));
  EXPECT_FALSE(emulator.waitForRequests(1, 10ms, "/b"));
  EXPECT_FALSE(emulator.waitForEvents(1, 10ms));
  for (int time = 0; time < 2; ++time) emulator.stop();
  EXPECT_EQ(answerTo("/b", emulator.port()), "");
  for (int time = 0; time < 2; ++time) emulator.start();
  EXPECT_EQ(answerTo("/b", emulator.port()), "HTTP/1.1 404");
  EXPECT_TRUE(emulator.waitForRequests(2, 10s));
  EXPECT_FALSE(emulator.waitForRequests(3, 10ms));
}

TEST(LightMode, CountsEventsButNotWhatIsInsideThem) {
  Service light(true);
  light.call(Endpoint::eventReport, R"({"events":[{"a":{"b":[{}]},"t":"}{\"[{"},{"c":"\\"},{}]})");
  EXPECT_EQ(light.eventCount(), 3u);
  EXPECT_TRUE(light.events().empty());
}

}  // namespace
}  // namespace sorn::emulator::test
