#pragma once

// The requests in order of arrival, to be asked for, waited for, and written to a file.

#include <chrono>
#include <condition_variable>
#include <fstream>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "sorn-emulator/RequestRecord.h"

namespace sorn::emulator {

class Journal {
 public:
  // Appends each request as a line of JSON to `file` too, unless that is empty. Throws std::runtime_error
  // when the file can't be opened.
  explicit Journal(const std::string& file);

  void append(RequestRecord record);
  void clear();

  std::vector<std::shared_ptr<const RequestRecord>> records() const;

  // Waits until `count` requests have come whose path ends in `pathEnding`, at most for `timeout`; whether
  // they have.
  bool waitFor(std::size_t count, std::chrono::milliseconds timeout, std::string_view pathEnding) const;

 private:
  mutable std::mutex mutex_;
  mutable std::condition_variable arrived_;
  std::vector<std::shared_ptr<const RequestRecord>> records_;
  std::ofstream file_;
};

}  // namespace sorn::emulator
