// Each kind of fault as a caller's socket sees it.

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "emulator/RawClient.h"
#include "sorn-emulator/Emulator.h"

namespace sorn::emulator::test {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using End = RawAnswer::End;

constexpr const char* report = "/v1/events/report/json";
constexpr const char* twoEvents = R"({"events":[{"event_id":"1"},{"event_id":"1"}]})";
// printf '127.0.0.1/v1/events/report/json%s' "$BODY" | openssl dgst -sha256 -hmac topsecret -binary | base64
constexpr const char* twoEventsSigned =
    "Authorization: demo=8BWHTegEVrX2z7ALAGno5t1UZRWe/0KkmB+b+zA7L9c=\r\n";
constexpr const char* campaigns = "/127.files/inapp/public/demo/active.json.gz";

class FaultTest : public testing::Test {
 protected:
  RawAnswer sendEvents() { return exchange(emulator.port(), "POST", report, twoEvents, twoEventsSigned); }
  RawAnswer getCampaigns() { return exchange(emulator.port(), "GET", campaigns); }

  Emulator emulator{{.accounts = {{"demo", "topsecret"}}}};
};

TEST_F(FaultTest, StatusRefusesForAsManyTimesAsOrdered) {
  emulator.setFaults(R"([{"path":"events/report/json","kind":"status","status":503,"times":2}])");
  EXPECT_EQ(sendEvents().status, 503);
  EXPECT_EQ(getCampaigns().status, 404) << "another path";
  EXPECT_EQ(sendEvents().status, 503);
  EXPECT_EQ(emulator.eventCount(), 0u);
  EXPECT_EQ(sendEvents().status, 200);
  EXPECT_EQ(emulator.eventCount(), 2u);
  const auto requests = emulator.requests();
  EXPECT_EQ(requests[0].status, 503);
  EXPECT_EQ(requests[0].fault, "status");
  EXPECT_EQ(requests[0].signature, "valid");
}

TEST_F(FaultTest, StatusMayCarryHeadersABodyAndTakeTheContent) {
  emulator.setFaults(
      R"([{"path":"*","kind":"status","status":302,"headers":{"Location":"http://127.0.0.1:1/"}},
                         {"path":"*","kind":"status"}])");
  EXPECT_EQ(sendEvents().headers.at("Location"), "http://127.0.0.1:1/");
  emulator.setFaults(R"([{"path":"*","kind":"status","status":200,"body":"true","kept":true}])");
  EXPECT_EQ(sendEvents().body, "true");
  EXPECT_EQ(emulator.eventCount(), 2u);
  emulator.setFaults(R"([{"path":"*","kind":"status","status":204}])");
  const auto empty = sendEvents();
  EXPECT_EQ(empty.status, 204);
  EXPECT_FALSE(empty.headers.contains("Content-Length"));
}

TEST_F(FaultTest, DelayAnswersLateAndRight) {
  emulator.setFaults(R"([{"path":"*","kind":"delay","seconds":0.2}])");
  const auto begin = Clock::now();
  const auto answer = sendEvents();
  EXPECT_GE(Clock::now() - begin, 200ms);
  EXPECT_EQ(answer.body, "{}");
  EXPECT_EQ(emulator.eventCount(), 2u);
}

TEST_F(FaultTest, SlowSpreadsTheBodyOverTheTime) {
  emulator.publishCampaigns("[]");
  emulator.setFaults(R"([{"path":"storage","kind":"slow","seconds":0.2}])");
  const auto begin = Clock::now();
  EXPECT_EQ(unpacked(getCampaigns().body), "[]");
  EXPECT_GE(Clock::now() - begin, 190ms);
}

TEST_F(FaultTest, HangAnswersNothingAndKeepsTheConnection) {
  emulator.setFaults(R"([{"path":"*","kind":"hang","times":1}])");
  RawClient client(emulator.port(), 200ms);
  client.send(requestText("POST", report, twoEvents, twoEventsSigned));
  EXPECT_EQ(client.receive().end, End::silent);
  EXPECT_EQ(emulator.eventCount(), 0u);
  EXPECT_EQ(emulator.requests().at(0).status, 0);
  EXPECT_EQ(sendEvents().status, 200) << "others are served meanwhile";
}

TEST_F(FaultTest, CutEndsTheConnectionWithinTheBody) {
  emulator.setFaults(R"([{"path":"*","kind":"cut"}])");
  const auto answer = sendEvents();
  EXPECT_EQ(answer.status, 200);
  EXPECT_EQ(answer.headers.at("Content-Length"), "2");
  EXPECT_EQ(answer.body, "{");
  EXPECT_EQ(answer.end, End::early);
  EXPECT_EQ(emulator.eventCount(), 2u) << "only the answer was spoilt";
}

TEST_F(FaultTest, CutOfAPackedFileLooksWholeToHttp) {
  emulator.publishCampaigns(R"([{"id":"1","name":"a campaign that is long enough to be cut"}])");
  emulator.setFaults(R"([{"path":"storage","kind":"cut","times":1},
                         {"path":"storage","kind":"cut","framed":false,"times":1}])");
  const auto looksWhole = getCampaigns();
  EXPECT_EQ(looksWhole.end, End::complete);
  EXPECT_EQ(unpacked(looksWhole.body), std::nullopt);
  EXPECT_EQ(getCampaigns().end, End::early);
  EXPECT_TRUE(unpacked(getCampaigns().body));
}

TEST_F(FaultTest, ResetIsNoOrderlyEnd) {
  emulator.setFaults(R"([{"path":"*","kind":"reset"}])");
  const auto answer = sendEvents();
  EXPECT_EQ(answer.end, End::reset);
  EXPECT_EQ(answer.status, 0);
  EXPECT_EQ(emulator.eventCount(), 0u);
}

TEST_F(FaultTest, GarbageIsABodyThatNobodyReadsOrNoHttpAtAll) {
  emulator.publishCampaigns("[]");
  emulator.setFaults(R"([{"path":"*","kind":"garbage"}])");
  const auto answer = sendEvents();
  EXPECT_EQ(answer.status, 200);
  EXPECT_TRUE(nlohmann::json::parse(answer.body, nullptr, false).is_discarded());
  const auto file = getCampaigns();
  EXPECT_EQ(file.headers.at("Content-Encoding"), "gzip");
  EXPECT_EQ(unpacked(file.body), std::nullopt);

  emulator.setFaults(R"([{"path":"*","kind":"garbage","raw":true}])");
  EXPECT_EQ(sendEvents().status, 0);
}

TEST_F(FaultTest, FirstFittingFaultWinsAndControlCallsAreSpared) {
  emulator.setFaults(R"([{"path":"storage","kind":"status","status":500},
                         {"path":"*","kind":"status","status":501,"times":1},
                         {"path":"*","kind":"reset"}])");
  EXPECT_EQ(getCampaigns().status, 500);
  EXPECT_EQ(sendEvents().status, 501);
  EXPECT_EQ(sendEvents().end, End::reset);
  EXPECT_EQ(exchange(emulator.port(), "POST", "/emulator/faults", "[]").status, 200);
  EXPECT_EQ(sendEvents().status, 200);
}

TEST_F(FaultTest, WrongPlansAreRefusedAndTheOldOneStays) {
  emulator.setFaults(R"([{"path":"*","kind":"status","status":500}])");
  const char* wrong[] = {"{}",
                         "[",
                         "[1]",
                         R"([{"path":"*"}])",
                         R"([{"kind":"reset"}])",
                         R"([{"path":"*","kind":"explode"}])",
                         R"([{"path":"*","kind":"status","status":"500"}])",
                         R"([{"path":"*","kind":"status","status":99}])",
                         R"([{"path":"*","kind":"delay","seconds":-1}])",
                         R"([{"path":"*","kind":"delay","times":1.5}])",
                         R"([{"path":"*","kind":"delay","time":1}])",
                         R"([{"path":7,"kind":"delay"}])",
                         R"([{"path":null,"kind":"reset"}])",
                         R"([{"path":"*","kind":null}])",
                         R"([{"path":"*","kind":"status","headers":"X"}])",
                         R"([{"path":"*","kind":"status","headers":["a"]}])",
                         R"([{"path":"*","kind":"status","headers":{"A":1}}])",
                         R"([{"path":"*","kind":"status","headers":{"A":"b\r\nC: d"}}])"};
  for (const char* plan : wrong) EXPECT_THROW(emulator.setFaults(plan), std::invalid_argument) << plan;
  EXPECT_EQ(sendEvents().status, 500);
}

}  // namespace
}  // namespace sorn::emulator::test
