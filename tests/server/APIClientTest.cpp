#include "server/ServerFixture.h"
#include "sorn-emulator/Emulator.h"

namespace sorn::server {

using platform::HttpTransport;
using platform::TransportError;
using tests::answer;

using APIClientTest = ServerFixture;

TEST_F(APIClientTest, OnlyAnObjectUnderStatus200IsAnAnswer) {
  struct Case {
    HttpTransport::Result result;
    std::string outcome;
  };
  const std::string parserError = std::string(support::JsonError::domain) + " 3840";
  const Case cases[] = {
      {answer(200, R"({"a":5})"), "5"},
      {answer(200, "\xEF\xBB\xBF{\"a\":5}"), "5"},
      {answer(200, "true"), "absent"},
      {answer(200, "null"), "absent"},
      {answer(200, R"([{"a":5}])"), "absent"},
      {answer(200, "\"text\""), "absent"},
      {answer(200, ""), parserError},
      {answer(200, " \n"), parserError},
      {answer(200, R"({"a":5)"), parserError},
      {answer(200, R"({"a":5} x)"), parserError},
      {answer(200, "<html>"), parserError},
      {answer(200, "{\"a\":\"\xFF\"}"), parserError},
      {answer(200, std::string(100'000, '[')), parserError},
      {answer(200, std::string().append(10'000'000, 'x')), parserError},
      {answer(204, ""), "APIError 0 status 204"},
      {answer(201, R"({"a":5})"), "APIError 0 status 201"},
      {answer(302, ""), "APIError 0 status 302"},
      {answer(400, "{}"), "APIError 0 status 400"},
      {answer(500, R"({"a":5})"), "APIError 0 status 500"},
      {TransportError{TransportError::timedOut}, "Transport -1001"},
      {TransportError{TransportError::cancelled}, "Transport -999"},
  };
  library();
  for (const Case& each : cases) {
    host_.transport->setHandler([&](const auto&) { return each.result; });
    EXPECT_EQ(outcomeOf(LocationRegister{}), each.outcome);
  }
  EXPECT_EQ(host_.transport->requests().size(), std::size(cases)) << "nothing is sent twice";
}

TEST_F(APIClientTest, CallsRunSideBySideAndMayBeAnsweredInAnyOrder) {
  library();
  host_.transport->setHandler({});
  std::vector<std::string> order;
  for (const char* name : {"first", "second"}) {
    library().client().request(UserActivate{name}, [&order, name](const CallResult& result) {
      order.push_back(name + (": " + describe(result)));
    });
  }
  ASSERT_TRUE(tests::becomesTrue([&] { return host_.transport->openCount() == 2; }));
  host_.transport->answer(2, answer(200, R"({"a":2})"));
  ASSERT_TRUE(tests::becomesTrue([&] { return host_.transport->openCount() == 1; }));
  host_.transport->answer(1, answer(500));
  library().tasks().waitUntilIdle();
  EXPECT_THAT(order, ::testing::ElementsAre("second: 2", "first: APIError 0 status 500"));
}

class APIClientOverHttp : public ServerFixture {
 protected:
  APIClientOverHttp() : emulator_({.accounts = {{"key", "secret"}}}) {
    host_.usesNetwork = true;
    host_.credentials.baseURL = emulator_.origin() + "/endpoints/v2/";
  }
  emulator::Emulator emulator_;
};

TEST_F(APIClientOverHttp, MisbehaviourOfTheServiceShowsAsWhatItIs) {
  struct Case {
    std::string fault;
    std::string outcome;
  };
  const std::string parserError = std::string(support::JsonError::domain) + " 3840";
  const Case cases[] = {
      {R"({"kind":"status","status":204})", "APIError 0 status 204"},
      {R"({"kind":"status","status":503})", "APIError 0 status 503"},
      {R"({"kind":"delay","seconds":0.05})", "object"},
      {R"({"kind":"garbage"})", parserError},
      {R"({"kind":"cut"})", "Transport -1005"},
      {R"({"kind":"cut","framed":true})", parserError},
      {R"({"kind":"reset"})", "Transport -1005"},
  };
  for (const Case& each : cases) {
    std::string fault = each.fault;
    // Twice: a kept connection that is reset before any answer is tried once more on a new one.
    fault.insert(1, R"("path":"*","times":2,)");
    emulator_.setFaults("[" + fault + "]");
    EXPECT_EQ(outcomeOf(UserActivate{"\xC3\xA4"}), each.outcome) << each.fault;
  }
  emulator_.setFaults("[]");
  EXPECT_EQ(outcomeOf(UserActivate{"u"}), "object") << "nothing of it lasts";
  for (const auto& request : emulator_.requests()) EXPECT_EQ(request.signature, "valid");
  emulator_.stop();
  EXPECT_EQ(outcomeOf(UserActivate{"u"}), "Transport -1004");
}

TEST_F(APIClientOverHttp, WrongSecretIsRefusedByTheService) {
  host_.credentials.applicationSecret = "wrong";
  EXPECT_THAT(outcomeOf(LocationRegister{}), ::testing::MatchesRegex("APIError 0 status 40[13]"));
  EXPECT_EQ(emulator_.requests().at(0).signature, "invalid");
}

}  // namespace sorn::server
