#pragma once

// The two files that the service publishes on its object storage: campaigns and places.

#include <array>
#include <mutex>
#include <optional>
#include <string>

#include "sorn-emulator/Http.h"
#include "sorn-emulator/Paths.h"

namespace sorn::emulator {

class Publications {
 public:
  // Publishes `text` as it is, right or wrong. An absent etag is worked out from the text, an absent time
  // stamp is the present second; an empty one leaves its header out.
  void publish(Document document, std::string_view text, std::optional<std::string> etag,
               std::optional<std::string> timestamp);
  void clear();

  // The file with its headers, or the storage's "no such key".
  HttpAnswer answer(Document document) const;
  static HttpAnswer missing();

 private:
  struct Publication {
    std::string packed;
    std::string etag;
    std::string timestamp;
  };

  mutable std::mutex mutex_;
  std::array<std::optional<Publication>, 2> published_;
};

}  // namespace sorn::emulator
