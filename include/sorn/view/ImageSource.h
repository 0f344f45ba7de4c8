#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace sorn::view {

// Where the pictures of a campaign come from. Each view of a picture fetches for itself.
class ImageSource {
 public:
  // A fetch under way. Its end cancels it; what it was to call is not begun any more.
  class Fetch {
   public:
    virtual ~Fetch() = default;
  };
  // The bytes of the picture, absent when they can't be had. Runs once, on a thread of the source that may
  // take its time for decoding.
  using Completion = std::function<void(std::optional<std::string> bytes)>;

  virtual ~ImageSource() = default;
  virtual std::unique_ptr<Fetch> fetch(const std::string& url, Completion completion) = 0;
};

}  // namespace sorn::view
