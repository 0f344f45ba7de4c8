// HTTP on the wire, and the service's coming and going.

#include <future>
#include <thread>

#include "emulator/EmulatorFixture.h"
#include "sorn-emulator/Connection.h"
#include "sorn-emulator/Listener.h"

namespace sorn::emulator::test {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using End = RawAnswer::End;

using ConnectionTest = EmulatorFixture;

TEST_F(ConnectionTest, OneConnectionCarriesManyRequestsAlsoSentAtOnce) {
  RawClient client(emulator.port());
  const auto request = requestText("POST", report, twoEvents, twoEventsSigned);
  client.send(request + request);
  EXPECT_EQ(client.receive().status, 200);
  EXPECT_EQ(client.receive().status, 200);
  client.send(
      requestText("POST", report, twoEvents, std::string(twoEventsSigned) + "connection: TE, Close\r\n"));
  EXPECT_EQ(client.receive().status, 200);
  EXPECT_TRUE(client.seesEnd());
  EXPECT_EQ(emulator.eventCount(), 6u);
}

TEST_F(ConnectionTest, ChunksThatArriveByteByByteAreJoinedBeforeTheSignatureIsChecked) {
  RawClient client(emulator.port());
  const std::string body = twoEvents;
  const std::string request = std::string("POST ") + report + " HTTP/1.1\r\nHost: 127.0.0.1\r\n" +
                              twoEventsSigned + "Transfer-Encoding: chunked\r\n\r\nA;x=1\r\n" +
                              body.substr(0, 10) + "\r\n24\r\n" + body.substr(10) +
                              "\r\n0\r\nTrailer: x\r\n\r\n";
  for (const char c : request) client.send({&c, 1});
  EXPECT_EQ(client.receive().status, 200);
  EXPECT_EQ(emulator.requests().at(0).signature, "valid");
  EXPECT_EQ(emulator.requests().at(0).raw, twoEvents);
}

TEST_F(ConnectionTest, CallerThatAsksFirstIsToldToGoOn) {
  RawClient client(emulator.port());
  const auto request =
      requestText("POST", report, twoEvents, std::string(twoEventsSigned) + "Expect: 100-continue\r\n");
  const auto bodyAt = request.size() - std::string_view(twoEvents).size();
  client.send(std::string_view(request).substr(0, bodyAt));
  EXPECT_EQ(client.receive().status, 100);
  client.send(std::string_view(request).substr(bodyAt));
  EXPECT_EQ(client.receive().status, 200);
}

TEST_F(ConnectionTest, WhatIsNoHttpIsRefusedAndEndsTheConnection) {
  const std::string chunked = "POST / HTTP/1.1\r\nTransfer-Encoding: chunked\r\n\r\n";
  const std::pair<std::string, int> wrong[] = {
      {"HELLO\r\n\r\n", 400},
      {"GET x HTTP/1.1\r\n\r\n", 400},
      {"GET / SPDY/3\r\n\r\n", 400},
      {"GET / HTTP/1.1\r\nno colon\r\n\r\n", 400},
      {"POST / HTTP/1.1\r\nContent-Length: -1\r\n\r\n", 400},
      {"POST / HTTP/1.1\r\nContent-Length: 1\r\ncontent-length: 2\r\n\r\nab", 400},
      {chunked + "xyz\r\n", 400},
      {chunked + "2\r\nabc\r\n", 400},
      {"POST / HTTP/1.1\r\nContent-Length: 268435457\r\n\r\n", 413},
      {chunked + "1\r\na\r\nffffffffffffffff\r\n", 413},
  };
  for (const auto& [text, status] : wrong) {
    RawClient client(emulator.port());
    client.send(text);
    EXPECT_EQ(client.receive().status, status) << text;
    EXPECT_TRUE(client.seesEnd()) << text;
  }
  EXPECT_TRUE(emulator.requests().empty());
}

TEST_F(ConnectionTest, BodyOf200MegabytesIsTakenWhole) {
  Emulator light({.accounts = {{"demo", "topsecret"}}, .lightMode = true});
  const auto body = std::string().append(200'000'000, 'x');
  EXPECT_EQ(exchange(light.port(), "POST", report, body).status, 401);
  EXPECT_EQ(light.requests().at(0).header("content-length"), "200000000");
  EXPECT_TRUE(light.requests().at(0).raw.empty());
}

TEST_F(ConnectionTest, StoppedServiceIsUnreachableAndComesBackOnItsPortWithWhatItKnew) {
  RawClient open(emulator.port());
  open.send(requestText("POST", report, twoEvents, twoEventsSigned));
  EXPECT_EQ(open.receive().status, 200);
  const auto origin = emulator.origin();
  emulator.stop();
  emulator.stop();
  EXPECT_FALSE(RawClient(emulator.port()).isConnected());
  EXPECT_TRUE(open.seesEnd());
  emulator.start();
  emulator.start();
  EXPECT_EQ(emulator.origin(), origin);
  EXPECT_EQ(sendEvents().status, 200);
  EXPECT_EQ(emulator.eventCount(), 4u);
}

TEST_F(ConnectionTest, StopEndsHungAndDelayedAndHalfSentRequestsAtOnce) {
  emulator.setFaults(R"([{"path":"hang","kind":"hang"},{"path":"delay","kind":"delay","seconds":600}])");
  RawClient hung(emulator.port());
  RawClient delayed(emulator.port());
  RawClient half(emulator.port());
  hung.send(requestText("GET", "/hang"));
  delayed.send(requestText("GET", "/delay"));
  half.send("POST / HTTP/1.1\r\nContent-Length: 9\r\n\r\nabc");
  ASSERT_TRUE(emulator.waitForRequests(2, 10s));
  const auto begin = Clock::now();
  emulator.stop();
  EXPECT_LT(Clock::now() - begin, 2s);
  EXPECT_EQ(hung.receive().end, End::early);
  EXPECT_NE(half.receive().end, End::silent);
}

TEST(Listening, ErrorInOneConnectionEndsThatWithStatus500AndNoOther) {
  Listener listener("127.0.0.1", 0, [](Channel& channel) {
    serveConnection(channel, [](HttpRequest& request) -> Reply {
      if (request.path == "/bad") throw std::runtime_error("what nobody foresaw");
      return {jsonAnswer(200, "{}"), std::nullopt};
    });
  });
  RawClient other(listener.port());
  EXPECT_EQ(exchange(listener.port(), "GET", "/bad").status, 500);
  other.send(requestText("GET", "/good"));
  EXPECT_EQ(other.receive().status, 200);
}

TEST_F(ConnectionTest, WaitingEndsWithTheLastRequestOrTheTime) {
  EXPECT_FALSE(emulator.waitForRequests(1, 10ms));
  EXPECT_FALSE(emulator.waitForEvents(1, 10ms));
  auto requests =
      std::async(std::launch::async, [&] { return emulator.waitForRequests(1, 10s, "report/json"); });
  auto events = std::async(std::launch::async, [&] { return emulator.waitForEvents(4, 10s); });
  exchange(emulator.port(), "GET", "/other");
  sendEvents();
  EXPECT_TRUE(requests.get());
  sendEvents();
  EXPECT_TRUE(events.get());
  EXPECT_FALSE(emulator.waitForRequests(3, 10ms, "report/json"));
}

TEST_F(ConnectionTest, ManyCallersAtOnceLoseNothingWhileOthersLookAndArrange) {
  constexpr std::size_t callers = 8;
  constexpr std::size_t rounds = 25;
  std::vector<std::thread> threads;
  threads.reserve(callers + 1);
  for (std::size_t caller = 0; caller < callers; ++caller) {
    threads.emplace_back([&] {
      RawClient client(emulator.port());
      for (std::size_t round = 0; round < rounds; ++round) {
        client.send(requestText("POST", report, twoEvents, twoEventsSigned));
        client.receive();
      }
    });
  }
  threads.emplace_back([&] {
    for (std::size_t round = 0; round < rounds; ++round) {
      emulator.setInbox("[]");
      emulator.publishPlaces("[]");
      emulator.setFaults(R"([{"path":"nowhere","kind":"reset"}])");
      emulator.state();
    }
  });
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(emulator.events().size(), 2 * callers * rounds);
  EXPECT_EQ(emulator.requests().size(), callers * rounds);
}

}  // namespace
}  // namespace sorn::emulator::test
