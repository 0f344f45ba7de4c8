#pragma once

#include <algorithm>
#include <cstdlib>
#include <future>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "fakes/RawDatabase.h"
#include "fakes/TestHost.h"
#include "sorn-config/ConfigurationFile.h"

namespace sorn::tests {

// A library over a service whose every call a test may answer, refuse or leave waiting. The host's folder
// outlives the runs of the library, so a test restarts the process and plants records between two runs.
class ServiceFixture : public ::testing::Test {
 protected:
  using Result = platform::HttpTransport::Result;

  ServiceFixture() {
    ::setenv("SNSORN_FORCE_LOGGING", "1", 1);
    host_.folder.write("c.plist",
                       config::configurationText({"key", "secret", "development", "http://service.test:8080"},
                                                 configuration::PropertyListForm::binary));
    configure("");
    respond(TestHost::reportPath, answer(200));
  }
  ~ServiceFixture() override {
    library_.reset();
    ::unsetenv("SNSORN_FORCE_LOGGING");
  }

  // The account's configuration from the next run on; unless told otherwise, batches are too large and too
  // rare to come unasked.
  void configure(const std::string& moreFeatures, int batchSize = 1000, int batchTimeout = 100'000,
                 bool reportsUsage = true) {
    const nlohmann::json options = {{"batch_timeout", batchTimeout}, {"batch_size", batchSize}};
    host_.secureStore->put("test.host.key-SNSornConfiguration",
                           std::string(R"({"features":{"push":true,"report_usage":)") +
                               (reportsUsage ? "true" : "false") + moreFeatures + R"(},"events_options":)" +
                               options.dump() + "}");
  }

  // A new process that has its account, but has not been started.
  facade::Library& launch() {
    library_.reset();
    library_ = host_.launch();
    library_->services().database;
    library_->context().performBlockAndWait([] {});  // the store is open
    return *library_;
  }
  // A new process that the host starts.
  facade::Library& start() {
    library_.reset();
    library_ = host_.install();
    // The main queue sets it too, but whether before or after the device is compared is open.
    library_->device().setBackgroundRefreshStatus(host_.application->backgroundRefreshStatus());
    library_->sorn().start("c");
    settle();
    return *library_;
  }
  // The process dies. What the store says can be changed until the next one begins.
  void die() { library_.reset(); }

  // How calls whose path ends like this are answered from now on; without a result they wait.
  void respond(const std::string& path, std::optional<Result> result) {
    host_.respond(path, std::move(result));
  }
  void hold(const std::string& path) { respond(path, std::nullopt); }
  // Answers the newest call of the path that waits.
  void answerCall(std::string_view path, const Result& result) {
    ASSERT_TRUE(host_.answerCall(path, result)) << "no call waits: " << path;
    settle();
  }

  // The paths of all calls to the service in this run, in order.
  std::vector<std::string> paths() const {
    constexpr std::string_view base = "http://service.test:8080/endpoints/v2/";
    std::vector<std::string> paths;
    for (const platform::HttpRequest& request : host_.transport->requests()) {
      if (request.url.starts_with(base)) paths.push_back(request.url.substr(base.size()));
    }
    return paths;
  }
  // The bodies of the calls of this path in this run.
  std::vector<nlohmann::json> calls(std::string_view path) const { return host_.calls(path); }

  // So many minutes pass, each with all that it sets going.
  void passMinutes(int count) {
    for (int minute = 0; minute < count; ++minute) {
      host_.clock->advance(60);
      settle();
    }
  }
  // Everything that was set going has come to its end, but for the calls that wait for an answer.
  void settle() {
    for (int round = 0; round < 4; ++round) {
      // A call of our own: it is completed behind those that have been answered.
      std::promise<void> tasksRan;
      platform::HttpRequest barrier;
      barrier.url = "barrier:";
      library_->tasks().send(barrier, [&](const Result&) { tasksRan.set_value(); });
      tasksRan.get_future().wait();
      std::promise<void> mainQueueRan;
      library_->ports().mainQueue->post([&] { mainQueueRan.set_value(); });
      mainQueueRan.get_future().wait();
      library_->context().performBlockAndWait([] {});
    }
  }
  decltype(auto) run(auto&& work) { return library_->context().performBlockAndWait(work); }
  std::string stored(const std::string& sql) { return RawDatabase(host_.databaseFile()).column(sql); }
  void plant(const std::string& sql) { RawDatabase(host_.databaseFile()).execute(sql); }

  // How often a line with this text has been logged, in all runs.
  std::size_t logged(std::string_view text) {
    if (library_) library_->logger().flush();
    const auto lines = host_.log->lines();
    return static_cast<std::size_t>(std::ranges::count_if(
        lines, [&](const std::string& line) { return line.find(text) != std::string::npos; }));
  }

  TestHost host_;
  std::unique_ptr<facade::Library> library_;
};

}  // namespace sorn::tests
