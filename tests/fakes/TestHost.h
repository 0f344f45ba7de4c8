#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json.hpp>

#include "facade/Diagnostics.h"
#include "facade/Library.h"
#include "fakes/FakeClock.h"
#include "fakes/FakeDevice.h"
#include "fakes/FakeHost.h"
#include "fakes/FakeTransport.h"
#include "fakes/Polling.h"
#include "linux/CurlTransport.h"
#include "linux/MainQueueThread.h"
#include "linux/TemporaryFolder.h"

namespace sorn::tests {

// A host application with fakes for its ports and a folder of its own, which outlives each run of the library
// in it. Event reports wait for an answer from the test; every other call succeeds with an empty object.
class TestHost {
 public:
  static constexpr std::string_view reportPath = "/events/report/json";

  TestHost() {
    bundle->resources = folder.path();
    directories->documentFolders = {folder / "documents"};
    credentials.applicationKey = "key";
    credentials.applicationSecret = "secret";
    credentials.environment = "enciphered";
    credentials.baseURL = "http://service.test:8080/endpoints/v2/";
  }

  // A library over this host's folder, which has not been started.
  std::unique_ptr<facade::Library> install() {
    transport = std::make_shared<FakeTransport>();
    transport->setHandler(
        [](const platform::HttpRequest& request) -> std::optional<platform::HttpTransport::Result> {
          if (request.url.ends_with(reportPath)) return std::nullopt;
          return platform::HttpResponse{200, {}, "{}"};
        });
    platform::Platform ports;
    ports.clock = clock;
    ports.mainQueue = std::make_shared<headless::MainQueueThread>();
    ports.bundle = bundle;
    ports.directories = directories;
    ports.userDefaults = defaults;
    ports.secureStore = secureStore;
    ports.httpTransport = transport;
    if (usesNetwork) ports.httpTransport = std::make_shared<headless::CurlTransport>();
    ports.deviceFacts = facts;
    ports.application = application;
    ports.systemLog = log;
    return std::make_unique<facade::Library>(std::move(ports));
  }
  // The same, knowing its account as after a start.
  std::unique_ptr<facade::Library> launch() {
    auto library = install();
    library->account().set(credentials);
    return library;
  }

  // The bodies of all event reports of the present run.
  std::vector<nlohmann::json> reports() const {
    std::vector<nlohmann::json> bodies;
    for (const platform::HttpRequest& request : transport->requests()) {
      if (!request.url.ends_with(reportPath)) continue;
      std::string text;
      for (const std::string& piece : request.body.pieces) text += piece;
      bodies.push_back(nlohmann::json::parse(text));
    }
    return bodies;
  }
  // Answers the newest event report, which must be open.
  void answerReport(platform::HttpTransport::Result result) {
    const auto requests = transport->requests();
    for (std::size_t number = requests.size(); number > 0; --number) {
      if (!requests[number - 1].url.ends_with(reportPath)) continue;
      if (!transport->answer(number, std::move(result))) throw std::logic_error("it has been answered");
      return;
    }
    throw std::logic_error("nothing has been reported");
  }
  std::filesystem::path databaseFile() const { return folder / "documents/SNSornDB.sqlite"; }

  const testing::TemporaryFolder folder;
  const std::shared_ptr<FakeClock> clock = std::make_shared<FakeClock>();
  const std::shared_ptr<FakeBundle> bundle = std::make_shared<FakeBundle>();
  const std::shared_ptr<FakeDirectories> directories = std::make_shared<FakeDirectories>();
  const std::shared_ptr<FakeDefaults> defaults = std::make_shared<FakeDefaults>();
  const std::shared_ptr<FakeSecureStore> secureStore = std::make_shared<FakeSecureStore>();
  const std::shared_ptr<FakeDeviceFacts> facts = std::make_shared<FakeDeviceFacts>();
  const std::shared_ptr<FakeApplication> application = std::make_shared<FakeApplication>();
  const std::shared_ptr<RecordingLog> log = std::make_shared<RecordingLog>();
  std::shared_ptr<FakeTransport> transport;  // of the present run
  bool usesNetwork = false;                  // sends for real instead
  support::Credentials credentials;
};

inline platform::HttpTransport::Result answer(int status, std::string body = "{}") {
  return platform::HttpResponse{status, {}, std::move(body)};
}

}  // namespace sorn::tests
