#pragma once

#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "fakes/RawDatabase.h"
#include "fakes/TestHost.h"
#include "store/entities/SNEvent.h"

namespace sorn::sync {

using documents::EventType;

// A library that records events, over a service that answers when the test says so.
class SyncFixture : public ::testing::Test {
 protected:
  // The account's configuration, for the launches from now on.
  void configure(int batchSize, int batchTimeout, bool reportsUsage = true) {
    host_.secureStore->put("test.host.key-SNSornConfiguration",
                           R"({"features":{"push":true,"report_usage":)" +
                               std::string(reportsUsage ? "true" : "false") +
                               R"(},"events_options":{"batch_timeout":)" + std::to_string(batchTimeout) +
                               R"(,"batch_size":)" + std::to_string(batchSize) + "}}");
  }
  facade::Library& library() {
    if (!library_) library_ = host_.launch();
    return *library_;
  }
  // The process dies and the next one begins.
  void restart() {
    library_.reset();
    library();
  }
  decltype(auto) run(auto&& work) { return library().context().performBlockAndWait(work); }

  void record(const std::string& action, EventType type = EventType::app_usage) {
    library().record({.type = type, .action = action});
  }
  void recordMany(int count) {
    for (int index = 0; index < count; ++index) record(std::to_string(index));
  }
  // What waits on the store's queue has run.
  void flush() {
    run([] {});
    run([] {});
  }
  bool reportsBecome(std::size_t count) {
    return tests::becomesTrue([&] { return host_.reports().size() == count; });
  }
  void answerReport(platform::HttpTransport::Result result) {
    host_.answerReport(std::move(result));
    library().tasks().waitUntilIdle();
    flush();
  }
  // The actions of the events of a report, in its order.
  std::string actionsOf(const nlohmann::json& report) {
    std::string actions;
    for (const auto& event : report["events"]) actions += event["action"].get<std::string>() + " ";
    return actions;
  }
  std::string stored(const std::string& sql) { return tests::RawDatabase(host_.databaseFile()).column(sql); }
  void execute(const std::string& sql) { tests::RawDatabase(host_.databaseFile()).execute(sql); }
  std::size_t countOf(std::int64_t status) {
    return run([&] {
      return library().context().count(store::SNEvent::entity(), store::SNEvent::status == status);
    });
  }

  tests::TestHost host_;
  std::unique_ptr<facade::Library> library_;
};

}  // namespace sorn::sync
