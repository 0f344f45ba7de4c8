#include <future>
#include <memory>
#include <optional>
#include <string>

#include <gtest/gtest.h>

#include "campaigns/ImageLoader.h"
#include "fakes/FakeClock.h"
#include "fakes/FakeTransport.h"
#include "fakes/Polling.h"

namespace sorn::campaigns {
namespace {

using platform::TransportError;

class ImageLoading : public ::testing::Test {
 protected:
  ~ImageLoading() override { tasks_.stop(); }

  std::optional<std::string> bytes(const std::string& url) {
    std::promise<std::optional<std::string>> promise;
    const auto fetch = loader_.fetch(url, [&](auto answer) { promise.set_value(std::move(answer)); });
    return promise.get_future().get();
  }

  std::shared_ptr<tests::FakeTransport> transport_ = std::make_shared<tests::FakeTransport>();
  support::Tasks tasks_{std::make_shared<tests::FakeClock>(), transport_};
  ImageLoader loader_{tasks_};
};

TEST_F(ImageLoading, ABodyCountsWhateverTheStatus) {
  transport_->prepareAnswer(200, "picture");
  transport_->prepareAnswer(404, "another");
  transport_->prepare(TransportError{TransportError::timedOut});
  EXPECT_EQ(bytes("http://127.0.0.1/a.png"), "picture");
  EXPECT_EQ(bytes("http://127.0.0.1/a.png"), "another");
  EXPECT_EQ(bytes("http://127.0.0.1/a.png"), std::nullopt);
  EXPECT_EQ(transport_->requests().size(), 3U);  // nothing is kept, nothing is merged
}

TEST_F(ImageLoading, AFetchThatIsGivenUpIsCancelledAndCallsNobody) {
  bool called = false;
  auto fetch = loader_.fetch("http://127.0.0.1/slow.png", [&](auto) { called = true; });
  ASSERT_TRUE(tests::becomesTrue([&] { return transport_->openCount() == 1; }));
  fetch.reset();
  EXPECT_TRUE(tests::becomesTrue([&] { return tasks_.isIdle(); }));
  transport_->prepareAnswer(200, "later");
  EXPECT_EQ(bytes("http://127.0.0.1/b.png"), "later");  // the worker has passed the cancelled one
  EXPECT_FALSE(called);
}

}  // namespace
}  // namespace sorn::campaigns
