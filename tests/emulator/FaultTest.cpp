// Each kind of fault as a caller's socket sees it.

#include "emulator/EmulatorFixture.h"

namespace sorn::emulator::test {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using End = RawAnswer::End;

using FaultTest = EmulatorFixture;

TEST_F(FaultTest, EachKindAsTheCallerOfAReportSeesIt) {
  struct Case {
    const char* fault;
    int status;
    const char* body;
    End end;
    std::size_t events;  // that were taken
    Clock::duration atLeast{};
  };
  const Case cases[] = {
      {R"("kind":"status","status":200,"body":"true","kept":true)", 200, "true", End::complete, 2},
      {R"("kind":"status","status":204)", 204, "", End::complete, 0},
      {R"("kind":"delay","seconds":0.2)", 200, "{}", End::complete, 2, 200ms},
      {R"("kind":"slow","seconds":0.2)", 200, "{}", End::complete, 2, 190ms},
      {R"("kind":"hang")", 0, "", End::silent, 0, 400ms},
      {R"("kind":"cut")", 200, "{", End::early, 2},
      {R"("kind":"reset")", 0, "", End::reset, 0},
      {R"("kind":"garbage","raw":true)", 0, "", End::complete, 2},
  };
  for (const Case& each : cases) {
    SCOPED_TRACE(each.fault);
    Emulator fresh({.accounts = {{"demo", "topsecret"}}});
    fresh.setFaults(std::string(R"([{"path":"*","times":1,)") + each.fault + "}]");
    const auto begin = Clock::now();
    RawClient client(fresh.port(), 400ms);
    client.send(requestText("POST", report, twoEvents, twoEventsSigned));
    const RawAnswer answer = client.receive();
    EXPECT_GE(Clock::now() - begin, each.atLeast);
    EXPECT_EQ(answer.status, each.status);
    EXPECT_EQ(answer.body, each.body);
    EXPECT_EQ(answer.end, each.end);
    EXPECT_EQ(answer.headers.contains("Content-Length"), answer.status == 200);
    EXPECT_EQ(fresh.eventCount(), each.events);
    if (each.end == End::silent) {
      EXPECT_EQ(fresh.requests().at(0).status, 0);
    }
    EXPECT_EQ(exchange(fresh.port(), "POST", report, twoEvents, twoEventsSigned).status, 200) << "others";
  }
}

TEST_F(FaultTest, PackedFilesAreSpoiltWithinAndWithoutTheFraming) {
  emulator.publishCampaigns(R"([{"id":"1","name":"a campaign that is long enough to be cut"}])");
  emulator.setFaults(R"([{"path":"storage","kind":"cut","times":1},
                         {"path":"storage","kind":"cut","framed":false,"times":1},
                         {"path":"storage","kind":"garbage","times":1},
                         {"path":"*","kind":"garbage","times":1},
                         {"path":"*","kind":"status","status":302,"headers":{"Location":"http://127.0.0.1:1/"}}])");
  const auto looksWhole = get(campaigns);
  EXPECT_EQ(looksWhole.end, End::complete);
  EXPECT_EQ(unpacked(looksWhole.body), std::nullopt);
  EXPECT_EQ(get(campaigns).end, End::early);
  const auto garbage = get(campaigns);
  EXPECT_EQ(garbage.headers.at("Content-Encoding"), "gzip");
  EXPECT_EQ(unpacked(garbage.body), std::nullopt);
  const auto answer = sendEvents();
  EXPECT_EQ(answer.status, 200);
  EXPECT_TRUE(nlohmann::json::parse(answer.body, nullptr, false).is_discarded());
  EXPECT_EQ(get(campaigns).headers.at("Location"), "http://127.0.0.1:1/");
}

TEST_F(FaultTest, FirstFittingFaultWinsAsManyTimesAsOrderedAndControlCallsAreSpared) {
  emulator.setFaults(R"([{"path":"storage","kind":"status","status":500},
                         {"path":"events/report/json","kind":"status","status":501,"times":2},
                         {"path":"*","kind":"reset"}])");
  EXPECT_EQ(sendEvents().status, 501);
  EXPECT_EQ(get(campaigns).status, 500) << "another path";
  EXPECT_EQ(sendEvents().status, 501);
  EXPECT_EQ(sendEvents().end, End::reset);
  EXPECT_EQ(post("/emulator/faults", "[]").status, 200);
  EXPECT_EQ(emulator.eventCount(), 0u);
  EXPECT_EQ(sendEvents().status, 200);
  EXPECT_EQ(emulator.eventCount(), 2u);
  const auto refused = emulator.requests().at(0);
  EXPECT_EQ(refused.status, 501);
  EXPECT_EQ(refused.fault, "status");
  EXPECT_EQ(refused.signature, "valid");
}

TEST_F(FaultTest, WrongPlansAreRefusedAndTheOldOneStays) {
  emulator.setFaults(R"([{"path":"*","kind":"status","status":500}])");
  for (const char* plan : {"{}", "[", "[1]"}) {
    EXPECT_THROW(emulator.setFaults(plan), std::invalid_argument) << plan;
  }
  const char* faults[] = {
      R"("path":"*")",
      R"("kind":"reset")",
      R"("path":"*","kind":"explode")",
      R"("path":"*","kind":"status","status":"500")",
      R"("path":"*","kind":"status","status":199)",
      R"("path":"*","kind":"delay","seconds":-1)",
      R"("path":"*","kind":"delay","times":1.5)",
      R"("path":"*","kind":"delay","time":1)",
      R"("path":7,"kind":"delay")",
      R"("path":null,"kind":"reset")",
      R"("path":"*","kind":null)",
      R"("path":"*","kind":"status","headers":["a"])",
      R"("path":"*","kind":"status","headers":{"A":1})",
      R"("path":"*","kind":"status","headers":{"A":"b\r\nC: d"})",
  };
  for (const std::string fault : faults) {
    EXPECT_THROW(emulator.setFaults("[{" + fault + "}]"), std::invalid_argument) << fault;
  }
  EXPECT_EQ(sendEvents().status, 500);
}

}  // namespace
}  // namespace sorn::emulator::test
