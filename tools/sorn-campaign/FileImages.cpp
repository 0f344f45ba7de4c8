#include "sorn-campaign/FileImages.h"

#include <atomic>
#include <optional>
#include <utility>

#include "support/BoundedFile.h"
#include "support/Url.h"

namespace sorn::tool {

namespace {

constexpr std::size_t longestPicture = std::size_t{64} << 20;

class Reading final : public view::ImageSource::Fetch {
 public:
  explicit Reading(std::shared_ptr<std::atomic<bool>> isWanted) : isWanted_(std::move(isWanted)) {}
  ~Reading() override { *isWanted_ = false; }

 private:
  std::shared_ptr<std::atomic<bool>> isWanted_;
};

std::optional<std::string> bytesOf(const std::string& path) {
  auto bytes = support::readBounded(path, longestPicture);
  return bytes ? std::optional(*std::move(bytes)) : std::nullopt;
}

}  // namespace

std::unique_ptr<view::ImageSource::Fetch> FileImages::fetch(const std::string& url, Completion completion) {
  const auto address = support::Url::parse(url);
  if (!address || address->scheme() != "file") return others_.fetch(url, std::move(completion));
  auto isWanted = std::make_shared<std::atomic<bool>>(true);
  reading_.performBlock([isWanted, path = address->path(), completion = std::move(completion)] {
    if (isWanted->exchange(false)) completion(bytesOf(path));
  });
  return std::make_unique<Reading>(std::move(isWanted));
}

}  // namespace sorn::tool
