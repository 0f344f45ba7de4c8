#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "server/APIError.h"
#include "server/Endpoint.h"
#include "support/Account.h"
#include "support/Logger.h"
#include "support/Result.h"
#include "support/Tasks.h"
#include "support/json/Json.h"

namespace sorn::server {

// The parsed answer of a call that succeeded.
class Answer {
 public:
  explicit Answer(support::Document document) : document_(std::move(document)) {}

  // Absent when the service answered with JSON that is no object.
  std::optional<support::Node> object() const {
    const support::Node root = document_.root();
    return root.isObject() ? std::optional(root) : std::nullopt;
  }

 private:
  support::Document document_;
};

using CallResult = support::Result<Answer, CallError>;
using CallFailure = support::Failure<CallError>;

// Sends one endpoint and hands the answer on. Keeps no state and never retries: what a failure means is its
// caller's business. Any thread; completions run on the task thread.
class APIClient {
 public:
  using Completion = std::function<void(const CallResult&)>;

  APIClient(const support::Account& account, support::Tasks& tasks, support::Logger& logger,
            const BodySources& sources)
      : account_(account), tasks_(tasks), logger_(logger), sources_(sources) {}

  void request(Endpoint endpoint, Completion completion);
  // The same from the task thread, without another turn of it.
  void send(Endpoint endpoint, const Completion& completion);

 private:
  CallResult classify(const std::string& url, platform::HttpTransport::Result result);

  const support::Account& account_;
  support::Tasks& tasks_;
  support::Logger& logger_;
  const BodySources sources_;
};

}  // namespace sorn::server
