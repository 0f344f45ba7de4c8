#include "server/ServerFixture.h"

namespace sorn::server {

using platform::HttpTransport;
using platform::TransportError;
using tests::answer;

using APIClientTest = ServerFixture;

TEST_F(APIClientTest, OnlyAnObjectUnderStatus200IsAnAnswer) {
  const std::string parserError = std::string(support::JsonError::domain) + " 3840";
  const std::pair<HttpTransport::Result, std::string> cases[] = {
      {answer(200, R"({"a":5})"), "5"},
      {answer(200, "\xEF\xBB\xBF{\"a\":5}"), "5"},
      {answer(200, "true"), "absent"},
      {answer(200, R"([{"a":5}])"), "absent"},
      {answer(200, ""), parserError},
      {answer(200, R"({"a":5)"), parserError},
      {answer(200, "<html>"), parserError},
      {answer(200, "{\"a\":\"\xFF\"}"), parserError},
      {answer(200, std::string(100'000, '[')), parserError},
      {answer(200, std::string().append(10'000'000, 'x')), parserError},
      {answer(204, ""), "APIError 0 status 204"},
      {answer(201, R"({"a":5})"), "APIError 0 status 201"},
      {answer(500, R"({"a":5})"), "APIError 0 status 500"},
      {TransportError{TransportError::timedOut}, "Transport -1001"},
  };
  library();
  for (const auto& [result, outcome] : cases) {
    host_.transport->setHandler([result = result](const auto&) { return result; });
    EXPECT_EQ(outcomeOf(LocationRegister{}), outcome);
  }
  EXPECT_EQ(host_.transport->requests().size(), std::size(cases)) << "nothing is sent twice";
}

TEST_F(APIClientTest, CallsRunSideBySideAndMayBeAnsweredInAnyOrder) {
  library();
  host_.transport->setHandler({});
  std::vector<std::string> order;
  for (const char* name : {"first", "second"}) {
    library().services().client.request(UserActivate{name}, [&order, name](const CallResult& result) {
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

}  // namespace sorn::server
