#pragma once

// A service with one account, and the calls that most tests make.

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "emulator/RawClient.h"
#include "sorn-emulator/Emulator.h"

namespace sorn::emulator::test {

constexpr const char* report = "/v1/events/report/json";
constexpr const char* twoEvents = R"({"events":[{"event_id":"1"},{"event_id":"1"}]})";
// printf '127.0.0.1/v1/events/report/json%s' "$BODY" | openssl dgst -sha256 -hmac topsecret -binary | base64
constexpr const char* twoEventsSigned =
    "Authorization: demo=8BWHTegEVrX2z7ALAGno5t1UZRWe/0KkmB+b+zA7L9c=\r\n";
constexpr const char* campaigns = "/127.files/inapp/public/demo/active.json.gz";

class EmulatorFixture : public testing::Test {
 protected:
  RawAnswer get(std::string_view target) { return exchange(emulator.port(), "GET", target); }
  RawAnswer post(std::string_view target, std::string_view body, std::string_view headers = "") {
    return exchange(emulator.port(), "POST", target, body, headers);
  }
  RawAnswer sendEvents() { return post(report, twoEvents, twoEventsSigned); }

  Emulator emulator{{.accounts = {{"demo", "topsecret"}}}};
};

}  // namespace sorn::emulator::test
