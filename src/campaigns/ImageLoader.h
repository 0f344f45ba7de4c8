#pragma once

#include <memory>
#include <optional>
#include <string>

#include "sorn/view/ImageSource.h"
#include "support/SerialQueue.h"
#include "support/Tasks.h"

namespace sorn::campaigns {

// Fetches the pictures of campaigns over the network. No cache and no merging of equal addresses: what the
// transport keeps is all the caching there is. A status is not looked at, since a body that is a picture can
// be shown whatever came with it. Nothing is tried twice. Any thread.
class ImageLoader final : public view::ImageSource {
 public:
  // Fetches that are under way when the loader ends complete no more.
  explicit ImageLoader(support::Tasks& tasks)
      : tasks_(tasks), decoding_(std::make_shared<support::SerialQueue>()) {}

  // Completes on a worker thread of the loader, so that neither the network nor the main queue waits for
  // decoding.
  std::unique_ptr<Fetch> fetch(const std::string& url, Completion completion) override;

 private:
  support::Tasks& tasks_;
  std::shared_ptr<support::SerialQueue> decoding_;
};

}  // namespace sorn::campaigns
