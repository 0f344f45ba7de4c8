#include "sorn-emulator/Journal.h"

#include <algorithm>
#include <stdexcept>

#include <nlohmann/json.hpp>

#include "sorn-emulator/JsonText.h"

namespace sorn::emulator {

Journal::Journal(const std::string& file) {
  if (file.empty()) return;
  file_.open(file, std::ios::app | std::ios::binary);
  if (!file_) throw std::runtime_error("cannot write to " + file);
}

void Journal::append(RequestRecord record) {
  auto kept = std::make_shared<const RequestRecord>(std::move(record));
  {
    const std::lock_guard lock(mutex_);
    if (file_.is_open()) {
      // A body need not be UTF-8; what is not is replaced in the parsed members, and stands whole in "raw".
      file_ << jsonText(toJson(*kept)) << '\n' << std::flush;
    }
    records_.push_back(std::move(kept));
  }
  arrived_.notify_all();
}

void Journal::clear() {
  const std::lock_guard lock(mutex_);
  records_.clear();
}

std::vector<std::shared_ptr<const RequestRecord>> Journal::records() const {
  const std::lock_guard lock(mutex_);
  return records_;
}

bool Journal::waitFor(std::size_t count, std::chrono::milliseconds timeout,
                      std::string_view pathEnding) const {
  std::unique_lock lock(mutex_);
  return arrived_.wait_for(lock, timeout, [&] {
    const auto fitting = std::ranges::count_if(
        records_, [&](const auto& record) { return std::string_view(record->path).ends_with(pathEnding); });
    return static_cast<std::size_t>(fitting) >= count;
  });
}

}  // namespace sorn::emulator
