#include "support/Gzip.h"

#include <algorithm>
#include <limits>
#include <utility>

#include <zlib.h>

#include "support/json/Json.h"

namespace sorn::support {

namespace {

GzipError::Kind kindOf(int code) {
  switch (code) {
    case Z_STREAM_ERROR:
      return GzipError::Kind::stream;
    case Z_DATA_ERROR:
      return GzipError::Kind::data;
    case Z_MEM_ERROR:
      return GzipError::Kind::memory;
    case Z_BUF_ERROR:
      return GzipError::Kind::buffer;
    case Z_VERSION_ERROR:
      return GzipError::Kind::version;
    default:
      return GzipError::Kind::unknown;
  }
}

// Unpacks into a text that grows by half of the input's size, up to one byte past the limit.
class Inflation {
 public:
  Inflation(std::string_view packed, int windowBits) : step_(packed.size() / 2) {
    // zlib's interface wants the input mutable and leaves it as it is.
    stream_.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(packed.data()));
    stream_.avail_in = static_cast<uInt>(packed.size());
    unpacked_.resize(std::min(2 * packed.size(), unpackedLimit + 1));
    status_ = inflateInit2(&stream_, windowBits);
    isOpen_ = status_ == Z_OK;
  }
  ~Inflation() {
    if (isOpen_) inflateEnd(&stream_);
  }
  Inflation(const Inflation&) = delete;
  Inflation& operator=(const Inflation&) = delete;

  int run() {
    while (status_ == Z_OK) {
      if (stream_.total_out > unpackedLimit) return Z_MEM_ERROR;
      if (stream_.total_out == unpacked_.size()) {
        unpacked_.resize(std::min(unpacked_.size() + step_, unpackedLimit + 1));
      }
      stream_.next_out = reinterpret_cast<Bytef*>(unpacked_.data()) + stream_.total_out;
      stream_.avail_out = static_cast<uInt>(unpacked_.size() - stream_.total_out);
      status_ = inflate(&stream_, Z_SYNC_FLUSH);
    }
    return status_ == Z_STREAM_END && stream_.total_out > unpackedLimit ? Z_MEM_ERROR : status_;
  }

  std::string message() const {
    const bool isTold = stream_.msg && isValidUtf8(stream_.msg);
    return isTold ? stream_.msg : "Unknown gzip error";
  }

  std::string take() {
    unpacked_.resize(stream_.total_out);
    return std::move(unpacked_);
  }

 private:
  z_stream stream_{};
  std::string unpacked_;
  std::size_t step_;
  int status_ = Z_OK;
  bool isOpen_ = false;
};

}  // namespace

Result<std::string, GzipError> gunzipped(std::string_view packed, int windowBits) {
  if (packed.empty()) return std::string();
  if (packed.size() > std::numeric_limits<uInt>::max()) {
    return Failure(GzipError{GzipError::Kind::memory, Z_MEM_ERROR, "Unknown gzip error"});
  }
  Inflation inflation(packed, windowBits);
  const int status = inflation.run();
  if (status == Z_STREAM_END) return inflation.take();
  return Failure(GzipError{kindOf(status), status, inflation.message()});
}

}  // namespace sorn::support
