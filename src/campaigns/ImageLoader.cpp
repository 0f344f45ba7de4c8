#include "campaigns/ImageLoader.h"

#include <atomic>
#include <utility>
#include <variant>

namespace sorn::campaigns {

namespace {

// Shared by the one who waits and the request, so that either may end first.
struct Pending {
  view::ImageSource::Completion completion;
  std::atomic<bool> isWanted{true};
};

class Running final : public view::ImageSource::Fetch {
 public:
  Running(support::Tasks& tasks, std::shared_ptr<Pending> pending)
      : tasks_(tasks), pending_(std::move(pending)) {}
  ~Running() override {
    // After the completion there is nothing left to cancel.
    if (pending_->isWanted.exchange(false)) tasks_.cancel(request_);
  }
  void setRequest(support::Tasks::RequestId request) { request_ = request; }

 private:
  support::Tasks& tasks_;
  std::shared_ptr<Pending> pending_;
  support::Tasks::RequestId request_ = 0;
};

std::optional<std::string> bodyOf(platform::HttpTransport::Result& result) {
  auto* response = std::get_if<platform::HttpResponse>(&result);
  return response ? std::optional(std::move(response->body)) : std::nullopt;
}

}  // namespace

std::unique_ptr<view::ImageSource::Fetch> ImageLoader::fetch(const std::string& url, Completion completion) {
  auto pending = std::make_shared<Pending>();
  pending->completion = std::move(completion);
  auto fetch = std::make_unique<Running>(tasks_, pending);
  platform::HttpRequest request;
  request.method = "GET";
  request.url = url;
  fetch->setRequest(tasks_.send(
      std::move(request), [pending, weak = std::weak_ptr(decoding_)](platform::HttpTransport::Result result) {
        const auto decoding = weak.lock();
        if (!decoding) return;
        // A block must be copyable, and a body may be large: share it.
        auto body = std::make_shared<std::optional<std::string>>(bodyOf(result));
        decoding->performBlock([pending, body] {
          if (pending->isWanted.exchange(false)) pending->completion(std::move(*body));
        });
      }));
  return fetch;
}

}  // namespace sorn::campaigns
