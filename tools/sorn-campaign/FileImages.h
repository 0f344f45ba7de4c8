#pragma once

#include <memory>
#include <string>

#include "sorn/view/ImageSource.h"
#include "support/SerialQueue.h"

namespace sorn::tool {

// Pictures of files on this machine, by "file:" addresses, so that a campaign can be tried before its
// pictures are published. All other addresses go on to another source.
class FileImages final : public view::ImageSource {
 public:
  explicit FileImages(view::ImageSource& others) : others_(others) {}

  std::unique_ptr<Fetch> fetch(const std::string& url, Completion completion) override;

 private:
  view::ImageSource& others_;
  support::SerialQueue reading_;
};

}  // namespace sorn::tool
