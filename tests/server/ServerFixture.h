#pragma once

#include <future>
#include <memory>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "fakes/TestHost.h"
#include "server/Endpoint.h"

namespace sorn::server {

using tests::textOf;

// A library over fakes, with the call layer as its user sees it. The device's identifier is "key::DEVICE".
class ServerFixture : public ::testing::Test {
 protected:
  ServerFixture() { host_.secureStore->put("test.host.key-SORN_UUID_KEY_V2", "key::DEVICE"); }

  facade::Library& library() {
    if (!library_) library_ = host_.launch();
    return *library_;
  }
  decltype(auto) run(auto&& work) { return library().context().performBlockAndWait(work); }

  void restart() {
    library_.reset();
    library();
  }

  // How a call ended: the answer's member "a", "absent" for an answer that is no object, or the error.
  std::string outcomeOf(Endpoint endpoint) {
    std::promise<std::string> outcome;
    library().services().client.request(
        std::move(endpoint), [&](const CallResult& result) { outcome.set_value(describe(result)); });
    return outcome.get_future().get();
  }
  static std::string describe(const CallResult& result) {
    if (!result) {
      const CallError* error = &result.error();
      const APIError* own = error->apiError();
      const std::string status = own ? " status " + std::to_string(own->statusCode) : "";
      return error->asPlatformError().domain + " " + std::to_string(error->code()) + status;
    }
    const auto object = result->object();
    if (!object) return "absent";
    const auto member = object->find("a");
    std::int64_t value = 0;
    return member && member->read(value) == support::ReadStatus::ok ? std::to_string(value) : "object";
  }

  // The request that an endpoint makes.
  platform::HttpRequest requestOf(Endpoint endpoint) {
    library();
    host_.transport->setHandler([](const auto&) { return tests::answer(200); });
    outcomeOf(std::move(endpoint));
    return host_.transport->requests().back();
  }
  static std::string headerOf(const platform::HttpRequest& request, std::string_view name) {
    for (const auto& [key, value] : request.headers) {
      if (key == name) return value;
    }
    return "none";
  }

  tests::TestHost host_;
  std::unique_ptr<facade::Library> library_;
};

}  // namespace sorn::server
