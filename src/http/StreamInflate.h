#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

#include "sorn/platform/HttpTransport.h"
#include "support/Result.h"

struct z_stream_s;

namespace sorn::http {

// Undoes the content encoding of a body that arrives in pieces, and knows at its end whether it was whole.
class StreamInflate {
 public:
  enum class Format {
    gzip,     // RFC 1952, one member or several
    deflate,  // RFC 1950; some servers send the bare RFC 1951, which is told apart by the first two bytes
  };

  using Outcome = support::Result<void, platform::TransportError>;

  explicit StreamInflate(Format format);
  ~StreamInflate();
  StreamInflate(const StreamInflate&) = delete;
  StreamInflate& operator=(const StreamInflate&) = delete;

  // Appends what the piece unpacks to. Fails with `cannotDecodeContent`, or with `dataTooLarge` rather than
  // let `output` grow beyond `limit`.
  Outcome append(std::string_view piece, std::string& output, std::size_t limit);
  // Whether the bytes so far are a whole body. One that was cut off is not.
  bool isWhole() const { return isWhole_; }

 private:
  Outcome inflatePiece(std::string_view piece, std::string& output, std::size_t limit);
  bool begin(std::string_view firstBytes);

  const Format format_;
  std::unique_ptr<z_stream_s> stream_;
  std::string held_;  // the first byte, until the second tells the format
  bool hasBegun_ = false;
  bool isWhole_ = false;
};

}  // namespace sorn::http
