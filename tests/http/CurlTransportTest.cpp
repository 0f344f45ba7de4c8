#include <atomic>
#include <thread>
#include <tuple>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "fakes/ChildProcess.h"
#include "fakes/DataFile.h"
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
  const HttpResponse response = HttpClient().answerOf(HttpClient::get(server.url("/")));
  EXPECT_EQ(response.status, 418);
  EXPECT_EQ(response.body, "short");
  EXPECT_EQ(response.header("etag"), "\"b\"");
  EXPECT_EQ(response.header("X-Early"), std::nullopt);
}

TEST(CurlTransport, ReachesThisMachinePastAProxyAndKnowsItByItsNamesAlone) {
  ScriptedServer server([](const Request&, Connection& c) { c.answer("200 OK"); });
  HttpClient client;
  ::setenv("http_proxy", "http://127.0.0.1:1", 1);
  EXPECT_EQ(client.answerOf(HttpClient::get(server.url("/"))).status, 200);
  EXPECT_EQ(client.errorOf(HttpClient::get("http://192.0.2.1/")), TransportError::cannotConnect);
  ::unsetenv("http_proxy");
  for (const char* host : {"localhost", "[::1]", "127.0.0.1", "127.255.0.9"}) {
    EXPECT_TRUE(http::isLoopback(host)) << host;
  }
  for (const char* host : {"127.evil.example", "127.0.0.1.example", "127.0.0", "127.0.0.256", "12.7.0.0",
                           "128.0.0.1", "::1", "localhost.example", ""}) {
    EXPECT_FALSE(http::isLoopback(host)) << host;
  }
}

TEST(CurlTransport, RefusesWhatCannotBeSent) {
  HttpClient client;
  for (const auto& row : dataFile("refused.json")) {
    HttpRequest request = HttpClient::get(row[0]);
    request.headers = {{"X-Header", row[1]}};
    EXPECT_EQ(client.errorOf(std::move(request)), row[2]) << row;
  }
}

// A failed call counts by its status, whatever the server or something before it put into the body.
TEST(CurlTransport, NamesTheKindOfFailureAndABodyThatNobodyReadsDecidesNothing) {
  for (const auto& row : dataFile("answers.json")) {
    for (const bool readsAll : {true, false}) {
      ScriptedServer server([&](const Request& request, Connection& c) {
        if (request.target == "/good") return c.answer("200 OK", "{}");
        c.send(row[1].get<std::string>());
        if (row[2]) c.close();
      });
      HttpClient client;
      HttpRequest request = HttpClient::get(server.url("/"));
      request.readsOnlySuccess = !readsAll;
      const auto result = client.fetch(request);
      const auto* answer = std::get_if<HttpResponse>(&result);
      const int outcome = answer ? answer->status : std::get<TransportError>(result).code;
      EXPECT_EQ(outcome, row[readsAll ? 3 : 4]) << row;
      if (answer && !readsAll) {
        EXPECT_EQ(answer->body.empty(), outcome != 200) << row;
      }
    }
  }
  std::string deaf;
  HttpClient client;
  std::string endless = "HTTP/1.1 200 OK\r\n";
  for (int i = 0; i < 400; ++i) endless += "X-Field: " + std::string(1000, 'x') + "\r\n";
  {
    ScriptedServer server([&](const Request& request, Connection& c) {
      if (request.target == "/reset") return c.reset();
      if (request.target == "/endless") return c.send(endless + "\r\n");
      if (request.target == "/short") return c.answer("500 Bad", "an apology");
      c.send("HTTP/1.1 502 Bad\r\nContent-Length: 83886080\r\n\r\n" + std::string(3'000'000, 'x'));
    });
    deaf = server.url("/");
    EXPECT_EQ(client.errorOf(HttpClient::get(server.url("/reset"))), TransportError::connectionLost);
    EXPECT_EQ(client.errorOf(HttpClient::get(server.url("/endless"))), TransportError::badServerResponse);
    // A short body is taken off the wire, so that its connection can be kept, a long one is not.
    HttpRequest unread = HttpClient::get(server.url("/short"));
    unread.readsOnlySuccess = true;
    for (int turn = 0; turn < 3; ++turn) EXPECT_EQ(client.answerOf(unread).status, 500);
    const auto requests = server.requests();
    EXPECT_EQ(requests.back().connection, requests.at(requests.size() - 3).connection);
    unread.url = server.url("/long");
    EXPECT_EQ(client.answerOf(unread).status, 502);
  }
  // Nobody listens at the port any more.
  EXPECT_EQ(client.errorOf(HttpClient::get(deaf)), TransportError::cannotConnect);
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

TEST(CurlTransport, EndsASilentAnswerAfterTheIdleTimeAndNotOneThatIsSlowButSteady) {
  ScriptedServer server([](const Request& request, Connection& c) {
    c.send("HTTP/1.1 200 OK\r\n");
    if (request.target == "/head") c.hang();
    c.send("Content-Length: 12\r\n\r\n");
    for (int i = 0; i < 12; ++i) {
      if (request.target == "/body" && i == 3) c.hang();
      c.pause(milliseconds(60));
      c.send("x");
    }
  });
  const auto fetch = [&](const char* target) {
    HttpClient client;
    HttpRequest request = HttpClient::get(server.url(target));
    request.idleTimeout = milliseconds(400);
    return client.fetch(std::move(request));
  };
  for (const char* target : {"/head", "/body"}) {
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(std::get<TransportError>(fetch(target)).code, TransportError::timedOut) << target;
    EXPECT_GE(since(start), milliseconds(400));
    EXPECT_LT(since(start), milliseconds(3000));
  }
  EXPECT_EQ(std::get<HttpResponse>(fetch("/steady")).body, "xxxxxxxxxxxx");
}

TEST(CurlTransport, CancelsOnceAndOnlyWhatIsRunningAlsoFromACompletion) {
  ScriptedServer server([](const Request& request, Connection& c) {
    if (request.target.starts_with("/hang")) c.hang();
    c.answer("200 OK", request.target);
  });
  HttpClient client;
  std::vector<std::string> seen;
  const auto note = [&](http::CurlTransport::Result result) {
    const auto* answer = std::get_if<HttpResponse>(&result);
    seen.push_back(answer ? answer->body : std::to_string(std::get<TransportError>(result).code));
  };
  auto hanging = client.transport.send(HttpClient::get(server.url("/hang")), note);
  ASSERT_TRUE(client.waitUntil([&] { return server.requests().size() == 1; }));
  client.transport.cancel(hanging);
  client.transport.cancel(hanging);
  EXPECT_THAT(seen, ::testing::IsEmpty());
  client.transport.wait(std::chrono::seconds(10));
  EXPECT_THAT(seen, ::testing::ElementsAre("-999"));

  hanging = client.transport.send(HttpClient::get(server.url("/hang-again")), note);
  const auto first = client.transport.send(HttpClient::get(server.url("/first")), [&](auto result) {
    note(std::move(result));
    client.transport.cancel(hanging);
    client.transport.send(HttpClient::get(server.url("/second")), note);
  });
  ASSERT_TRUE(client.waitUntil([&] { return seen.size() == 4; }));
  client.transport.cancel(first);
  client.transport.wait(milliseconds(20));
  EXPECT_THAT(seen, ::testing::ElementsAre("-999", "/first", "-999", "/second"));
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
  const auto start = std::chrono::steady_clock::now();
  transport.wait(milliseconds(50));
  EXPECT_GE(since(start), milliseconds(49));
  bool isDone = false;
  transport.send(HttpClient::get("ftp://x/"), [&](auto) { isDone = true; });
  EXPECT_FALSE(isDone);
  transport.wait(std::chrono::seconds(10));
  EXPECT_TRUE(isDone);
  EXPECT_LT(since(start), milliseconds(3000));
}

}  // namespace
}  // namespace sorn::tests
