#include <atomic>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "fakes/ChildProcess.h"
#include "fakes/TemporaryFolder.h"
#include "http/CurlTransport.h"
#include "http/HttpClient.h"
#include "http/HttpFields.h"
#include "http/ScriptedServer.h"

namespace sorn::tests {

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
  EXPECT_EQ(client.answerOf(HttpClient::post(server.url("/"), {})).status, 200);
  EXPECT_EQ(server.requests().at(1).header("Content-Length"), "0");
}

TEST(CurlTransport, KeepsOneConnectionAndItsCookiesAndRepeatsABodyWhenTheConnectionIsDead) {
  ScriptedServer server([](const Request& request, Connection& c) {
    if (request.target == "/dead" && request.connection == 0) return c.close();
    c.answer("200 OK", request.body, {"Set-Cookie: id=7; Path=/"});
  });
  HttpClient client;
  const std::string large(3'000'000, 'x');
  for (int turn = 0; turn < 3; ++turn) {
    EXPECT_EQ(client.answerOf(HttpClient::post(server.url("/"), {large, "end"})).body, large + "end");
  }
  EXPECT_EQ(server.requests().back().connection, 0);
  EXPECT_EQ(server.requests().at(0).header("Expect"), "") << "nor for a large body";
  EXPECT_EQ(server.requests().at(0).header("Cookie"), "");
  EXPECT_EQ(server.requests().at(1).header("Cookie"), "id=7");
  // The server closes the connection that the client still keeps: the request goes out again on another.
  EXPECT_EQ(client.answerOf(HttpClient::post(server.url("/dead"), {"two ", "halves"})).body, "two halves");
  EXPECT_EQ(server.requests().back().connection, 1);
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
    EXPECT_TRUE(http::isLoopback(host)) << host;
  }
  for (const char* host : {"127.evil.example", "127.0.0.1.example", "127.0.0", "127.0.0.256", "127.",
                           "12.7.0.0", "128.0.0.1", "::1", "localhost.example", ""}) {
    EXPECT_FALSE(http::isLoopback(host)) << host;
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
  const auto sendAndClose = [](const std::string& bytes) {
    return [bytes](const Request&, Connection& c) {
      c.send(bytes);
      c.close();
    };
  };
  std::string endless = "HTTP/1.1 200 OK\r\n";
  for (int i = 0; i < 400; ++i) endless += "X-Field: " + std::string(1000, 'x') + "\r\n";
  const Case cases[] = {
      {"reset", [](const Request&, Connection& c) { c.reset(); }, TransportError::connectionLost},
      {"closed", sendAndClose(""), TransportError::connectionLost},
      {"cut in the header", sendAndClose("HTTP/1.1 200 OK\r\nContent-Le"), TransportError::connectionLost},
      {"cut by length", sendAndClose("HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\nabc"),
       TransportError::connectionLost},
      {"cut in chunks", sendAndClose("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n5\r\nab"),
       TransportError::connectionLost},
      {"no HTTP", sendAndClose("SSH-2.0-OpenSSH_9.2\r\n"), TransportError::badServerResponse},
      {"endless headers", [endless](const Request&, Connection& c) { c.send(endless + "\r\n"); },
       TransportError::badServerResponse},
  };
  for (const Case& each : cases) {
    ScriptedServer server(each.script);
    EXPECT_EQ(client.errorOf(HttpClient::get(server.url("/"))), each.code) << each.name;
  }
}

// A server with a certificate of its own making that nobody vouches for. One who trusts it is answered, so
// the refusal is about nothing else.
TEST(CurlTransport, RefusesACertificateThatNobodyVouchesFor) {
  const TemporaryFolder folder;
  const std::string inFolder = "cd '" + folder.path().string() + "' && ";
  const std::string make =
      inFolder +
      "openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:P-256 -nodes -keyout key -out certificate "
      "-subj /CN=localhost -addext subjectAltName=DNS:localhost -days 1 >/dev/null 2>&1";
  ASSERT_EQ(std::system(make.c_str()), 0);
  tests::ChildProcess server({"/bin/sh", "-c",
                              inFolder +
                                  "exec openssl s_server -accept 127.0.0.1:0 -key key -cert certificate "
                                  "-www 2>/dev/null"});
  std::string line = server.readLine();
  while (!line.empty() && !line.starts_with("ACCEPT ")) line = server.readLine();
  ASSERT_NE(line, "");
  const std::string port = line.substr(line.rfind(':') + 1);
  const std::string trusting = inFolder + "openssl s_client -connect 127.0.0.1:" + port +
                               " -CAfile certificate -verify_return_error -verify_hostname localhost "
                               "</dev/null >/dev/null 2>&1";
  EXPECT_EQ(std::system(trusting.c_str()), 0);
  HttpClient client;
  EXPECT_EQ(client.errorOf(HttpClient::get("https://localhost:" + port + "/")),
            TransportError::secureConnectionFailed);
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
  const auto note = [&](http::CurlTransport::Result result) {
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
  http::CurlTransport::RequestId hanging = 0;
  const auto note = [&](http::CurlTransport::Result result) {
    const auto* answer = std::get_if<HttpResponse>(&result);
    seen.push_back(answer ? answer->body : "cancelled");
  };
  hanging = client.transport.send(HttpClient::get(server.url("/hang")), note);
  client.transport.send(HttpClient::get(server.url("/first")), [&](http::CurlTransport::Result result) {
    note(std::move(result));
    client.transport.cancel(hanging);
    client.transport.send(HttpClient::get(server.url("/second")), note);
  });
  ASSERT_TRUE(client.waitUntil([&] { return seen.size() == 3; }));
  EXPECT_THAT(seen, ::testing::ElementsAre("/first", "cancelled", "/second"));
}

// A call that comes while the sleeper is just waking or just going to sleep must count as well.
TEST(CurlTransport, LosesNoWakeUp) {
  ScriptedServer server([](const Request&, Connection& c) { c.answer("200 OK"); });
  HttpClient client;
  const auto start = std::chrono::steady_clock::now();
  for (const bool hasSent : {false, true}) {
    if (hasSent) {
      client.transport.wakeUp();  // while asleep without libcurl, heard with it
      EXPECT_EQ(client.answerOf(HttpClient::get(server.url("/"))).status, 200);
    }
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

TEST(CurlTransport, WaitsAboutAsLongAsItWasToldAndNeverCompletesInsideSend) {
  http::CurlTransport transport;
  auto start = std::chrono::steady_clock::now();
  transport.wait(milliseconds(50));
  EXPECT_GE(since(start), milliseconds(49));
  EXPECT_LT(since(start), milliseconds(2000));
  bool isDone = false;
  transport.send(HttpClient::get("ftp://x/"), [&](auto) { isDone = true; });
  EXPECT_FALSE(isDone);
  start = std::chrono::steady_clock::now();
  transport.wait(std::chrono::seconds(10));
  EXPECT_TRUE(isDone);
  EXPECT_LT(since(start), milliseconds(1000));
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
}  // namespace sorn::tests
