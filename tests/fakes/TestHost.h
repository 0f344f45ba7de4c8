#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <optional>
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
#include "fakes/TemporaryFolder.h"
#include "host/MainQueueThread.h"
#include "http/CurlTransport.h"
#include "settings/DefaultsFile.h"

namespace sorn::tests {

inline std::string textOf(const platform::HttpBody& body) {
  std::string text;
  for (const std::string& piece : body.pieces) text += piece;
  return text;
}

inline platform::HttpTransport::Result answer(int status, std::string body = "{}") {
  return platform::HttpResponse{status, {}, std::move(body)};
}

// A host application with fakes for its ports and a folder of its own, which outlives each run of the library
// in it. Event reports wait for an answer from the test; every other call succeeds with an empty object, as
// long as the test says nothing else.
class TestHost {
 public:
  using Result = platform::HttpTransport::Result;

  static constexpr const char* reportPath = "events/report/json";

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
    transport->setHandler([this](const platform::HttpRequest& request) -> std::optional<Result> {
      const std::lock_guard lock(mutex_);
      for (const auto& [path, result] : answers_) {
        if (request.url.ends_with(path)) return result;
      }
      return answer(200);
    });
    platform::Platform ports;
    ports.clock = clock;
    ports.mainQueue = std::make_shared<host::MainQueueThread>();
    ports.bundle = bundle;
    ports.directories = directories;
    ports.userDefaults = defaults;
    ports.secureStore = secureStore;
    ports.httpTransport = transport;
    if (usesNetwork) ports.httpTransport = std::make_shared<http::CurlTransport>();
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

  // How calls whose path ends like this are answered from now on; without a result they wait.
  void respond(const std::string& path, std::optional<Result> result) {
    const std::lock_guard lock(mutex_);
    answers_[path] = std::move(result);
  }
  // The bodies of the calls of this path in the present run.
  std::vector<nlohmann::json> calls(std::string_view path) const {
    std::vector<nlohmann::json> bodies;
    for (const platform::HttpRequest& request : transport->requests()) {
      if (!request.url.ends_with(path)) continue;
      bodies.push_back(nlohmann::json::parse(textOf(request.body)));
    }
    return bodies;
  }
  // Answers the newest call of the path that waits for an answer; false when there is none.
  bool answerCall(std::string_view path, const Result& result) {
    const auto requests = transport->requests();
    for (std::size_t number = requests.size(); number > 0; --number) {
      if (requests[number - 1].url.ends_with(path) && transport->answer(number, result)) return true;
    }
    return false;
  }
  std::vector<nlohmann::json> reports() const { return calls(reportPath); }
  void answerReport(const Result& result) {
    if (!answerCall(reportPath, result)) throw std::logic_error("no report waits");
  }
  std::filesystem::path databaseFile() const { return folder / "documents/SNSornDB.sqlite"; }

  const tests::TemporaryFolder folder;
  const std::shared_ptr<FakeClock> clock = std::make_shared<FakeClock>();
  const std::shared_ptr<FakeBundle> bundle = std::make_shared<FakeBundle>();
  const std::shared_ptr<FakeDirectories> directories = std::make_shared<FakeDirectories>();
  // Without a file: they last as long as the host.
  const std::shared_ptr<settings::DefaultsFile> defaults =
      std::make_shared<settings::DefaultsFile>(std::nullopt);
  const std::shared_ptr<FakeSecureStore> secureStore = std::make_shared<FakeSecureStore>();
  const std::shared_ptr<FakeDeviceFacts> facts = std::make_shared<FakeDeviceFacts>();
  const std::shared_ptr<FakeApplication> application = std::make_shared<FakeApplication>();
  const std::shared_ptr<RecordingLog> log = std::make_shared<RecordingLog>();
  std::shared_ptr<FakeTransport> transport;  // of the present run
  bool usesNetwork = false;                  // sends for real instead
  support::Credentials credentials;

 private:
  std::mutex mutex_;
  std::map<std::string, std::optional<Result>> answers_ = {{reportPath, std::nullopt}};
};

// The error with which the work was refused.
std::optional<SornError> refusalOf(auto&& work) {
  try {
    work();
  } catch (const SornError& error) {
    return error;
  }
  return std::nullopt;
}

}  // namespace sorn::tests
