#include <atomic>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "linux/CurlTransport.h"
#include "linux/HttpClient.h"
#include "linux/HttpFields.h"
#include "linux/ScriptedServer.h"

namespace sorn::testing {

using platform::HttpRequest;
using platform::HttpResponse;
using platform::TransportError;
using std::chrono::milliseconds;

namespace {

milliseconds since(std::chrono::steady_clock::time_point start) {
  return std::chrono::duration_cast<milliseconds>(std::chrono::steady_clock::now() - start);
}

TEST(CurlTransport, SendsABodyInPiecesUnderItsTrueLengthAndAddsNothing) {
  ScriptedServer server([](const Request&, Connection& c) { c.answer("200 OK", "{}"); });
  HttpClient client;
  HttpRequest request = HttpClient::post(server.url("/a/../b/%2e/c?x=1"), {"first,", "", "second,", "third"});
  request.headers = {
      {"Authorization", "sig abc="}, {"Content-Length", "3"}, {"Expect", "100-continue"}, {"X-Empty", ""}};
  EXPECT_EQ(client.answerOf(std::move(request)).body, "{}");
  ASSERT_EQ(server.requests().size(), 1u);
  const Request seen = server.requests()[0];
  EXPECT_EQ(seen.method, "POST");
  EXPECT_EQ(seen.target, "/a/../b/%2e/c?x=1");
  EXPECT_EQ(seen.body, "first,second,third");
  EXPECT_EQ(seen.header("Content-Length"), "18");
  EXPECT_EQ(seen.header("Authorization"), "sig abc=");
  EXPECT_EQ(seen.header("Accept-Encoding"), "gzip, deflate");
  EXPECT_THAT(seen.head, ::testing::HasSubstr("\r\nX-Empty:\r\n"));
  EXPECT_THAT(seen.head, ::testing::Not(::testing::HasSubstr("Expect")));
  EXPECT_THAT(seen.head, ::testing::Not(::testing::HasSubstr("Content-Type")));
}

TEST(CurlTransport, SendsAnEmptyPostWithLengthZero) {
  ScriptedServer server([](const Request&, Connection& c) { c.answer("200 OK"); });
  HttpClient client;
  EXPECT_EQ(client.answerOf(HttpClient::post(server.url("/"), {})).status, 200);
  EXPECT_EQ(server.requests().at(0).header("Content-Length"), "0");
}

TEST(CurlTransport, KeepsOneConnectionForRequestsInTurn) {
  ScriptedServer server([](const Request& request, Connection& c) { c.answer("200 OK", request.body); });
  HttpClient client;
  const std::string large(3'000'000, 'x');
  for (int turn = 0; turn < 3; ++turn) {
    EXPECT_EQ(client.answerOf(HttpClient::post(server.url("/"), {large, "end"})).body, large + "end");
  }
  EXPECT_EQ(server.requests().back().connection, 0);
}

// The server closes the connection that the client still keeps: the second request goes out again on another.
TEST(CurlTransport, RepeatsABodyFromItsBeginningWhenAKeptConnectionIsDead) {
  ScriptedServer server([](const Request& request, Connection& c) {
    if (request.target == "/second" && request.connection == 0) {
      c.close();
    } else {
      c.answer("200 OK", request.body);
    }
  });
  HttpClient client;
  EXPECT_EQ(client.answerOf(HttpClient::post(server.url("/first"), {"one"})).body, "one");
  EXPECT_EQ(client.answerOf(HttpClient::post(server.url("/second"), {"two ", "halves"})).body, "two halves");
}

TEST(CurlTransport, GivesStatusAndHeadersOfTheLastAnswerAlone) {
  ScriptedServer server([](const Request&, Connection& c) {
    c.send("HTTP/1.1 103 Early Hints\r\nX-Early: 1\r\n\r\n");
    c.answer("418 Teapot", "short", {"Etag:  \"a\" ", "ETAG: \"b\"", "x-goog-meta-timestamp: 12"});
  });
  HttpClient client;
  const HttpResponse response = client.answerOf(HttpClient::get(server.url("/")));
  EXPECT_EQ(response.status, 418);
  EXPECT_EQ(response.body, "short");
  EXPECT_EQ(response.header("etag"), "\"b\"");
  EXPECT_EQ(response.header("X-Goog-Meta-Timestamp"), "12");
  EXPECT_EQ(response.header("X-Early"), std::nullopt);
}

TEST(CurlTransport, KeepsCookiesBetweenRequests) {
  ScriptedServer server(
      [](const Request&, Connection& c) { c.answer("200 OK", "", {"Set-Cookie: id=7; Path=/"}); });
  HttpClient client;
  client.answerOf(HttpClient::get(server.url("/")));
  client.answerOf(HttpClient::get(server.url("/next")));
  EXPECT_EQ(server.requests().at(0).header("Cookie"), "");
  EXPECT_EQ(server.requests().at(1).header("Cookie"), "id=7");
}

TEST(CurlTransport, ReachesThisMachinePastAProxy) {
  ScriptedServer server([](const Request&, Connection& c) { c.answer("200 OK"); });
  HttpClient client;
  ::setenv("http_proxy", "http://127.0.0.1:1", 1);
  EXPECT_EQ(client.answerOf(HttpClient::get(server.url("/"))).status, 200);
  EXPECT_EQ(client.errorOf(HttpClient::get("http://192.0.2.1/")), TransportError::cannotConnect);
  ::unsetenv("http_proxy");
}

TEST(HttpFields, KnowThisMachineByItsNamesAlone) {
  for (const char* host : {"localhost", "[::1]", "127.0.0.1", "127.255.0.9"}) {
    EXPECT_TRUE(headless::isLoopback(host)) << host;
  }
  for (const char* host : {"127.evil.example", "127.0.0.1.example", "127.0.0", "127.0.0.256", "127.",
                           "12.7.0.0", "128.0.0.1", "::1", "localhost.example", ""}) {
    EXPECT_FALSE(headless::isLoopback(host)) << host;
  }
}

TEST(CurlTransport, RefusesWhatCannotBeSent) {
  struct Case {
    const char* url;
    const char* header;
    int code;
  };
  const Case cases[] = {
      {"ftp://127.0.0.1/", "v", TransportError::unsupportedUrl},
      {"file:///etc/hostname", "v", TransportError::unsupportedUrl},
      {"127.0.0.1/path", "v", TransportError::unsupportedUrl},
      {"", "v", TransportError::unsupportedUrl},
      {"http://", "v", TransportError::badUrl},
      {"http://127.0.0.1:99999/", "v", TransportError::badUrl},
      {"http://127.0.0.1/", "v\r\nX-Other: 1", TransportError::badUrl},
      {"http://127.0.0.1/", "v\n", TransportError::badUrl},
  };
  for (const Case& each : cases) {
    HttpClient client;
    HttpRequest request = HttpClient::get(each.url);
    request.headers = {{"X-Header", each.header}};
    EXPECT_EQ(client.errorOf(std::move(request)), each.code) << each.url;
  }
}

TEST(CurlTransport, NeverCompletesInsideSend) {
  headless::CurlTransport transport;
  bool isDone = false;
  transport.send(HttpClient::get("ftp://x/"), [&](auto) { isDone = true; });
  EXPECT_FALSE(isDone);
  const auto start = std::chrono::steady_clock::now();
  transport.wait(std::chrono::seconds(10));
  EXPECT_TRUE(isDone);
  EXPECT_LT(since(start), milliseconds(1000));
}

TEST(CurlTransport, NamesTheKindOfFailure) {
  // A port that was free a moment ago and that nobody listens on.
  std::string deaf;
  {
    ScriptedServer gone([](const Request&, Connection&) {});
    deaf = gone.url("/");
  }
  HttpClient client;
  EXPECT_EQ(client.errorOf(HttpClient::get(deaf)), TransportError::cannotConnect);

  struct Case {
    const char* name;
    ScriptedServer::Script script;
    int code;
  };
  const Case cases[] = {
      {"reset", [](const Request&, Connection& c) { c.reset(); }, TransportError::connectionLost},
      {"closed", [](const Request&, Connection& c) { c.close(); }, TransportError::connectionLost},
      {"cut in the header",
       [](const Request&, Connection& c) {
         c.send("HTTP/1.1 200 OK\r\nContent-Le");
         c.close();
       },
       TransportError::connectionLost},
      {"cut by length",
       [](const Request&, Connection& c) {
         c.send("HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\nabc");
         c.close();
       },
       TransportError::connectionLost},
      {"cut in chunks",
       [](const Request&, Connection& c) {
         c.send("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n5\r\nab");
         c.close();
       },
       TransportError::connectionLost},
      {"no HTTP", [](const Request&, Connection& c) { c.send("SSH-2.0-OpenSSH_9.2\r\n"), c.close(); },
       TransportError::badServerResponse},
      {"endless headers",
       [](const Request&, Connection& c) {
         c.send("HTTP/1.1 200 OK\r\n");
         for (int i = 0; i < 400; ++i) c.send("X-Field: " + std::string(1000, 'x') + "\r\n");
         c.send("\r\n");
       },
       TransportError::badServerResponse},
  };
  for (const Case& each : cases) {
    ScriptedServer server(each.script);
    EXPECT_EQ(client.errorOf(HttpClient::get(server.url("/"))), each.code) << each.name;
  }
}

TEST(CurlTransport, EndsASilentAnswerAfterTheIdleTime) {
  for (const char* before : {"", "HTTP/1.1 200 OK\r\n", "HTTP/1.1 200 OK\r\nContent-Length: 9\r\n\r\nabc"}) {
    ScriptedServer server([before](const Request&, Connection& c) {
      c.send(before);
      c.hang();
    });
    HttpClient client;
    HttpRequest request = HttpClient::get(server.url("/"));
    request.idleTimeout = milliseconds(200);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(client.errorOf(std::move(request)), TransportError::timedOut) << before;
    EXPECT_GE(since(start), milliseconds(200));
    EXPECT_LT(since(start), milliseconds(2000));
  }
}

TEST(CurlTransport, LetsASlowButSteadyAnswerTakeLongerThanTheIdleTime) {
  ScriptedServer server([](const Request&, Connection& c) {
    c.send("HTTP/1.1 200 OK\r\nContent-Length: 12\r\n\r\n");
    for (int i = 0; i < 12; ++i) {
      c.pause(milliseconds(60));
      c.send("x");
    }
  });
  HttpClient client;
  HttpRequest request = HttpClient::get(server.url("/"));
  request.idleTimeout = milliseconds(400);
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(client.answerOf(std::move(request)).body, "xxxxxxxxxxxx");
  EXPECT_GT(since(start), milliseconds(600));
}

TEST(CurlTransport, CancelsOnceAndOnlyWhatIsRunning) {
  ScriptedServer server([](const Request& request, Connection& c) {
    if (request.target == "/hang") c.hang();
    c.answer("200 OK", "x");
  });
  HttpClient client;
  std::vector<int> codes;
  const auto note = [&](headless::CurlTransport::Result result) {
    const auto* error = std::get_if<TransportError>(&result);
    codes.push_back(error ? error->code : 0);
  };
  const auto hanging = client.transport.send(HttpClient::get(server.url("/hang")), note);
  ASSERT_TRUE(client.waitUntil([&] { return server.requests().size() == 1; }));
  client.transport.cancel(hanging);
  client.transport.cancel(hanging);
  EXPECT_THAT(codes, ::testing::IsEmpty());
  const auto start = std::chrono::steady_clock::now();
  client.transport.wait(std::chrono::seconds(10));
  EXPECT_LT(since(start), milliseconds(1000));
  EXPECT_THAT(codes, ::testing::ElementsAre(TransportError::cancelled));

  const auto quick = client.transport.send(HttpClient::get(server.url("/quick")), note);
  ASSERT_TRUE(client.waitUntil([&] { return codes.size() == 2; }));
  client.transport.cancel(quick);
  client.transport.wait(milliseconds(20));
  EXPECT_THAT(codes, ::testing::ElementsAre(TransportError::cancelled, 0));
}

TEST(CurlTransport, ACompletionMaySendAndCancel) {
  ScriptedServer server([](const Request& request, Connection& c) {
    if (request.target == "/hang") c.hang();
    c.answer("200 OK", request.target);
  });
  HttpClient client;
  std::vector<std::string> seen;
  headless::CurlTransport::RequestId hanging = 0;
  const auto note = [&](headless::CurlTransport::Result result) {
    const auto* answer = std::get_if<HttpResponse>(&result);
    seen.push_back(answer ? answer->body : "cancelled");
  };
  hanging = client.transport.send(HttpClient::get(server.url("/hang")), note);
  client.transport.send(HttpClient::get(server.url("/first")), [&](headless::CurlTransport::Result result) {
    note(std::move(result));
    client.transport.cancel(hanging);
    client.transport.send(HttpClient::get(server.url("/second")), note);
  });
  ASSERT_TRUE(client.waitUntil([&] { return seen.size() == 3; }));
  EXPECT_THAT(seen, ::testing::ElementsAre("/first", "cancelled", "/second"));
}

TEST(CurlTransport, WakesASleeperBeforeAndAfterTheFirstRequest) {
  ScriptedServer server([](const Request&, Connection& c) { c.answer("200 OK"); });
  HttpClient client;
  const auto wakesUp = [&] {
    const auto start = std::chrono::steady_clock::now();
    std::thread waker([&] {
      std::this_thread::sleep_for(milliseconds(30));
      client.transport.wakeUp();
    });
    while (since(start) < milliseconds(25)) client.transport.wait(std::chrono::seconds(8));
    waker.join();
    return since(start) < milliseconds(4000);
  };
  const auto remembers = [&] {
    client.transport.wakeUp();
    const auto start = std::chrono::steady_clock::now();
    client.transport.wait(std::chrono::seconds(8));
    return since(start) < milliseconds(4000);
  };
  EXPECT_TRUE(wakesUp());
  EXPECT_TRUE(remembers());
  // Woken while asleep without libcurl, heard with it.
  client.transport.wakeUp();
  std::atomic<bool> isAnswered{false};
  client.transport.send(HttpClient::get(server.url("/")), [&](auto) { isAnswered = true; });
  EXPECT_TRUE(client.waitUntil([&] { return isAnswered.load(); }));
  EXPECT_TRUE(wakesUp());
  EXPECT_TRUE(remembers());
}

// A call that comes while the sleeper is just waking or just going to sleep must count as well.
TEST(CurlTransport, LosesNoWakeUp) {
  ScriptedServer server([](const Request&, Connection& c) { c.answer("200 OK"); });
  HttpClient client;
  const auto start = std::chrono::steady_clock::now();
  for (const bool hasSent : {false, true}) {
    if (hasSent) client.answerOf(HttpClient::get(server.url("/")));
    std::atomic<int> asked{0};
    std::atomic<int> answered{0};
    std::thread asking([&] {
      for (int i = 1; i <= 3000; ++i) {
        asked = i;
        client.transport.wakeUp();
        if (i % 3 == 0) client.transport.wakeUp();
        while (answered < i && since(start) < std::chrono::seconds(30)) std::this_thread::yield();
      }
    });
    while (answered < 3000 && since(start) < std::chrono::seconds(30)) {
      client.transport.wait(std::chrono::seconds(10));
      answered = asked.load();
    }
    asking.join();
  }
  EXPECT_LT(since(start), std::chrono::seconds(9));
}

TEST(CurlTransport, WaitsAboutAsLongAsItWasTold) {
  headless::CurlTransport transport;
  const auto start = std::chrono::steady_clock::now();
  transport.wait(milliseconds(50));
  EXPECT_GE(since(start), milliseconds(49));
  EXPECT_LT(since(start), milliseconds(2000));
}

TEST(CurlTransport, AnswersManyRequestsAtATime) {
  ScriptedServer server([](const Request& request, Connection& c) { c.answer("200 OK", request.target); });
  HttpClient client;
  std::vector<std::string> bodies;
  for (int i = 0; i < 40; ++i) {
    client.transport.send(HttpClient::get(server.url("/" + std::to_string(i))), [&](auto result) {
      if (const auto* answer = std::get_if<HttpResponse>(&result)) bodies.push_back(answer->body);
    });
  }
  ASSERT_TRUE(client.waitUntil([&] { return bodies.size() == 40; }));
  std::sort(bodies.begin(), bodies.end());
  EXPECT_EQ(std::unique(bodies.begin(), bodies.end()), bodies.end());
}

}  // namespace
}  // namespace sorn::testing
