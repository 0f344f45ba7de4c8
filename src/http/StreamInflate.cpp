#include "http/StreamInflate.h"

#include <algorithm>
#include <limits>

#include <zlib.h>

#include "http/CurlErrors.h"

namespace sorn::http {

namespace {

using platform::TransportError;

constexpr int gzipWindow = 15 + 16;  // zlib's form for "the gzip format with the largest window"
constexpr int zlibWindow = 15;
constexpr int bareWindow = -15;

// RFC 1950, 2.2: compression method 8 and a check that makes the two bytes a multiple of 31.
bool isZlibHeader(std::string_view bytes) {
  const unsigned first = static_cast<unsigned char>(bytes[0]);
  const unsigned second = static_cast<unsigned char>(bytes[1]);
  return (first & 0x0F) == 8 && (first << 8 | second) % 31 == 0;
}

}  // namespace

StreamInflate::StreamInflate(Format format) : format_(format) {}

StreamInflate::~StreamInflate() {
  if (stream_) inflateEnd(stream_.get());
}

bool StreamInflate::begin(std::string_view firstBytes) {
  hasBegun_ = true;
  int window = gzipWindow;
  if (format_ == Format::deflate) window = isZlibHeader(firstBytes) ? zlibWindow : bareWindow;
  auto stream = std::make_unique<z_stream>();
  if (inflateInit2(stream.get(), window) != Z_OK) return false;
  stream_ = std::move(stream);
  return true;
}

StreamInflate::Outcome StreamInflate::append(std::string_view piece, std::string& output, std::size_t limit) {
  if (hasBegun_) return inflatePiece(piece, output, limit);
  // Which of the two forms of "deflate" it is, the first two bytes tell.
  held_.append(piece);
  if (held_.size() < 2) return {};
  if (!begin(held_)) return transportFailure(TransportError::cannotDecodeContent);
  const std::string whole = std::move(held_);
  return inflatePiece(whole, output, limit);
}

StreamInflate::Outcome StreamInflate::inflatePiece(std::string_view piece, std::string& output,
                                                   std::size_t limit) {
  if (!stream_) return transportFailure(TransportError::cannotDecodeContent);
  char unpacked[16384];
  // zlib takes the input as if it were writable and never writes to it.
  stream_->next_in = reinterpret_cast<Bytef*>(const_cast<char*>(piece.data()));
  stream_->avail_in = static_cast<uInt>(piece.size());
  bool mayHoldMore = false;
  while (stream_->avail_in > 0 || mayHoldMore) {
    if (isWhole_) {
      // Bytes after the end: another member of a gzip file. Nothing may follow the other formats.
      if (format_ != Format::gzip || inflateReset(stream_.get()) != Z_OK)
        return transportFailure(TransportError::cannotDecodeContent);
      isWhole_ = false;
    }
    stream_->next_out = reinterpret_cast<Bytef*>(unpacked);
    stream_->avail_out = sizeof unpacked;
    const int status = inflate(stream_.get(), Z_NO_FLUSH);
    if (status != Z_OK && status != Z_STREAM_END && status != Z_BUF_ERROR)
      return transportFailure(TransportError::cannotDecodeContent);
    const std::size_t count = sizeof unpacked - stream_->avail_out;
    if (count > limit - std::min(limit, output.size())) return transportFailure(TransportError::dataTooLarge);
    output.append(unpacked, count);
    isWhole_ = status == Z_STREAM_END;
    mayHoldMore = !isWhole_ && stream_->avail_out == 0;
    // No error of the stream: there is nothing left to unpack until more comes.
    if (status == Z_BUF_ERROR) break;
  }
  return {};
}

}  // namespace sorn::http
