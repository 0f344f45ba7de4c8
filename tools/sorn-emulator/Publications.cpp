#include "sorn-emulator/Publications.h"

#include <stdexcept>

#include "sorn-emulator/Encoding.h"

namespace sorn::emulator {

void Publications::publish(Document document, std::string_view text, std::optional<std::string> etag,
                           std::optional<std::string> timestamp) {
  Publication publication;
  publication.packed = gzipped(text);
  publication.etag = etag ? std::move(*etag) : '"' + shortDigest(text) + '"';
  publication.timestamp = timestamp ? std::move(*timestamp) : std::to_string(static_cast<long long>(now()));
  if ((publication.etag + publication.timestamp).find_first_of("\r\n") != std::string::npos) {
    throw std::invalid_argument("etag and timestamp must not contain a line end");
  }
  const std::lock_guard lock(mutex_);
  published_[static_cast<std::size_t>(document)] = std::move(publication);
}

void Publications::clear() {
  const std::lock_guard lock(mutex_);
  published_ = {};
}

HttpAnswer Publications::answer(Document document) const {
  const std::lock_guard lock(mutex_);
  const auto& publication = published_[static_cast<std::size_t>(document)];
  if (!publication) return missing();
  HttpAnswer answer{
      200, {{"Content-Type", "application/json"}, {"Content-Encoding", "gzip"}}, publication->packed};
  if (!publication->etag.empty()) answer.headers.emplace_back("Etag", publication->etag);
  if (!publication->timestamp.empty()) {
    answer.headers.emplace_back("x-goog-meta-timestamp", publication->timestamp);
  }
  return answer;
}

HttpAnswer Publications::missing() {
  return {404,
          {{"Content-Type", "application/xml; charset=UTF-8"}},
          "<?xml version='1.0' encoding='UTF-8'?><Error><Code>NoSuchKey</Code>"
          "<Message>The specified key does not exist.</Message></Error>"};
}

}  // namespace sorn::emulator
